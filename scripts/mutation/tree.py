"""A copy of the tree in which mutants are built and tested. The tree itself is never written to."""

import collections
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import tempfile

LARGEST_FILE = 1 << 32
MOST_MEMORY = 6 << 30
BUILD_SECONDS = 7200
# A mutant may take so much longer of the processor than the tree does, before it counts as one that
# never ends.
SLOWER, SECONDS_MORE = 5, 8
# Of time, which on a busy machine says little: who takes longer has no verdict.
WAIT_SECONDS = 1800
# Tests of building, installing and scripts, which see nothing of a mutant.
BUILDING = ('Build.', 'Packages.', 'Readme.', 'TestLog.')


class DoesNotWork(Exception):
    """The tree does not build, or fails its tests, without any mutant."""


def limits(seconds):
    """What a process may use, for preexec_fn."""
    def limit():
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_FSIZE, (LARGEST_FILE, LARGEST_FILE))
        resource.setrlimit(resource.RLIMIT_DATA, (MOST_MEMORY, MOST_MEMORY))
        if seconds:  # a test, for which others need not wait
            resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))
            os.sched_setscheduler(0, os.SCHED_IDLE, os.sched_param(0))
    return limit


class Tree:
    def __init__(self, source, work, jobs):
        self.source = source
        self.root = os.path.join(work, 'tree')
        self.build = os.path.join(self.root, 'build', 'release')
        self.temporary = os.path.join(work, 'tmp')
        self.jobs = str(jobs)
        self.programs = {}  # by folder of tests/: the programs that are there
        self.directories = {}
        self.others = []  # tests of ctest that are in none of the programs
        self.seconds = {}  # of the processor, by program
        self.left_out = {}  # by program: tests that fail without any mutant

    # --- processes --------------------------------------------------------------------------------

    def run(self, command, timeout, cwd=None, seconds=0, place='', **variables):
        """Returns the exit status and the end of what was written; None when time ran out. Nothing
        that it has started is left.

        seconds: of the processor that each of its processes may take; 0: any number.
        place: of its temporary files."""
        temporary = os.path.join(self.temporary, place)
        os.makedirs(temporary, exist_ok=True)
        environment = dict(os.environ, TMPDIR=temporary, LC_ALL='C', **variables)
        with tempfile.TemporaryFile() as out:
            process = subprocess.Popen(command, cwd=cwd or self.root, stdin=subprocess.DEVNULL,
                                       stdout=out, stderr=subprocess.STDOUT, env=environment,
                                       start_new_session=True, preexec_fn=limits(seconds))
            try:
                status = process.wait(timeout)
            except subprocess.TimeoutExpired:
                status = None
            finally:
                self.end(process)
            shutil.rmtree(temporary, ignore_errors=True)
            size = out.seek(0, os.SEEK_END)
            out.seek(max(0, size - 40000000))
            return status, out.read().decode('utf-8', 'replace')

    @staticmethod
    def end(process):
        try:
            os.killpg(process.pid, signal.SIGKILL)  # its own group, children included
        except ProcessLookupError:
            pass
        process.wait()

    def must(self, what, command):
        status, text = self.run(command, BUILD_SECONDS)
        if status != 0:
            raise DoesNotWork(f'{what}:\n{text[-4000:]}')

    # --- the copy ---------------------------------------------------------------------------------

    def copy(self):
        """Brings the copy to the commit that the source stands at."""
        os.makedirs(self.temporary, exist_ok=True)
        if not os.path.isdir(self.root):
            subprocess.run(['git', 'clone', '--quiet', '--no-hardlinks', self.source, self.root],
                           check=True)
        for command in (['fetch', '--quiet', 'origin', 'HEAD'],
                        ['reset', '--quiet', '--hard', 'FETCH_HEAD']):
            subprocess.run(['git', '-C', self.root, *command], check=True)

    def files(self, folders, headers):
        """Path and text of every file of these folders that this machine compiles."""
        names = subprocess.run(['git', '-C', self.root, 'ls-files', *folders], check=True,
                               capture_output=True, text=True).stdout.split()
        with open(os.path.join(self.build, 'compile_commands.json'), encoding='utf-8') as file:
            compiled = {os.path.relpath(c['file'], self.root) for c in json.load(file)}
        for name in names:
            if name in compiled or name.endswith(('.h', '.inl') if headers else '.inl'):
                with open(os.path.join(self.root, name), encoding='utf-8', newline='') as file:
                    yield name, file.read()

    def configure(self):
        launcher = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'compile')
        self.must('The tree cannot be configured',
                  ['cmake', '--preset', 'release', f'-DCMAKE_CXX_COMPILER_LAUNCHER={launcher}'])

    def list_programs(self):
        """Programs of GoogleTest, by the folder of tests/ that they run in, and other tests."""
        _, text = self.run(['ctest', '--show-only=json-v1'], BUILD_SECONDS, self.build)
        found = collections.defaultdict(set)
        for test in json.loads(text[text.index('{'):])['tests']:
            properties = {p['name']: p['value'] for p in test['properties']}
            directory = properties.get('WORKING_DIRECTORY', '')
            labels = [label for label in properties.get('LABELS', [])
                      if os.access(os.path.join(self.build, label), os.X_OK)]
            for label in labels:
                found[os.path.basename(directory)].add(label)
                self.directories[label] = directory
            if not labels and not test['name'].startswith(BUILDING):
                self.others.append(test['name'])
        self.programs = {folder: sorted(names) for folder, names in found.items()}

    # --- building ---------------------------------------------------------------------------------

    def steps(self):
        """How many steps a build would take."""
        _, text = self.run(['ninja', '-C', self.build, '-n'], BUILD_SECONDS)
        last = re.findall(r'^\[\d+/(\d+)\]', text, re.M)
        return int(last[-1]) if last else 0

    def make(self):
        """Returns what the compiler says; an empty text when it builds."""
        status, text = self.run(['ninja', '-C', self.build, '-k', '0', '-j', self.jobs],
                                BUILD_SECONDS)
        return '' if status == 0 else text or 'no reason given'

    def compiled(self):
        """The files that went into what was built."""
        _, text = self.run(['ninja', '-C', self.build, '-t', 'deps'], BUILD_SECONDS)
        names = re.findall(r'^ +(\S+)$', text, re.M)
        return {os.path.relpath(os.path.join(self.build, name), self.root) for name in names}

    # --- testing ----------------------------------------------------------------------------------

    def measure(self, program, seen):
        """Runs a program as the tree has it: how long it takes, which of its tests fail here, since
        they look at how the tree was built, and which mutants it comes by."""
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        status, text = self.run(self.command(program, '', '--gtest_brief=1'), BUILD_SECONDS,
                                self.directories[program], KOWEN_MUTANTS_SEEN=seen)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        self.seconds[program] = (after.ru_utime + after.ru_stime -
                                 before.ru_utime - before.ru_stime)
        failed = sorted(set(re.findall(r'\[  FAILED  \] ([\w./]+)', text)))
        if status != 0 and not failed:
            raise DoesNotWork(f'{program} fails without any mutant:\n{text[-2000:]}')
        self.left_out[program] = failed

    def suites_of(self, path):
        """The suites of a source's own test file, of src/jpeg/a.cpp tests/jpeg/a_test.cpp."""
        parts = os.path.splitext(path)[0].split('/')
        folder = parts[1] if parts[0] == 'src' else parts[0]
        test = os.path.join(self.root, 'tests', folder, parts[-1] + '_test.cpp')
        if not os.path.exists(test):
            return ''
        with open(test, encoding='utf-8') as file:
            suites = re.findall(r'^(?:TYPED_)?TEST(?:_[FP])?\(\s*(\w+)', file.read(), re.M)
        return ':'.join(f'{suite}.*:*/{suite}.*:{suite}/*' for suite in sorted(set(suites)))

    def command(self, program, suites, *arguments):
        wanted = suites or '*'
        left_out = ':'.join(self.left_out.get(program, []))
        filtered = [f'--gtest_filter={wanted}-{left_out}'] if suites or left_out else []
        return [os.path.join(self.build, program), *arguments, *filtered]

    def test(self, program, suites='', place='', **variables):
        """Returns the test that failed, an empty text when none did, None when nobody knows."""
        seconds = int(SECONDS_MORE + SLOWER * self.seconds[program])
        status, text = self.run(self.command(program, suites, '--gtest_fail_fast',
                                             '--gtest_brief=1'),
                                WAIT_SECONDS, self.directories[program], seconds, place,
                                **variables)
        return self.verdict(program, status, re.findall(r'\[  FAILED  \] ([\w./]+)', text))

    def test_others(self, place='', **variables):
        """As test, of what is in no program."""
        names = '^(' + '|'.join(map(re.escape, self.others)) + ')$'
        status, text = self.run(['ctest', '--stop-on-failure', '--output-on-failure', '-R', names],
                                WAIT_SECONDS, self.build, 0, place, **variables)
        return self.verdict('ctest', status,
                            re.findall(r'^\s+\d+ - (\S+) \((?!Skipped)', text, re.M))

    @staticmethod
    def verdict(program, status, failed):
        if status == 0:
            return ''
        if status is None:
            return None
        if status in (-signal.SIGXCPU, -signal.SIGKILL):
            return f'{program}: no end'
        return f'{program}: ' + (failed[0] if failed else f'status {status}')
