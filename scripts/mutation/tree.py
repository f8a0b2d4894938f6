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
import time

LARGEST_FILE = 1 << 32
MOST_MEMORY = 6 << 30
BUILD_SECONDS = 3600
# A mutant may take so much longer than the tree does, before it counts as one that never ends.
SLOWER, SECONDS_MORE = 8, 20


class DoesNotWork(Exception):
    """The tree does not build, or fails its tests, without any mutant."""


def limit_process():
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (LARGEST_FILE, LARGEST_FILE))
    resource.setrlimit(resource.RLIMIT_DATA, (MOST_MEMORY, MOST_MEMORY))


class Tree:
    def __init__(self, source, work, jobs):
        self.source = source
        self.root = os.path.join(work, 'tree')
        self.build = os.path.join(self.root, 'build', 'release')
        self.temporary = os.path.join(work, 'tmp')
        self.jobs = str(jobs)
        self.programs = {}  # by folder of tests/: the programs that are there
        self.directories = {}
        self.seconds = {}

    # --- processes --------------------------------------------------------------------------------

    def run(self, command, timeout, cwd=None, limited=False):
        """Returns the exit status and the end of what was written; None when time ran out. Nothing
        that it has started is left."""
        environment = dict(os.environ, TMPDIR=self.temporary, LC_ALL='C')
        with tempfile.TemporaryFile() as out:
            process = subprocess.Popen(command, cwd=cwd or self.root, stdin=subprocess.DEVNULL,
                                       stdout=out, stderr=subprocess.STDOUT, env=environment,
                                       start_new_session=True,
                                       preexec_fn=limit_process if limited else None)
            try:
                status = process.wait(timeout)
            except subprocess.TimeoutExpired:
                status = None
            finally:
                self.end(process)
            size = out.seek(0, os.SEEK_END)
            out.seek(max(0, size - 400000))
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

    def files(self, folders):
        """Path and text of every file of these folders that this machine compiles."""
        names = subprocess.run(['git', '-C', self.root, 'ls-files', *folders], check=True,
                               capture_output=True, text=True).stdout.split()
        with open(os.path.join(self.build, 'compile_commands.json'), encoding='utf-8') as file:
            compiled = {os.path.relpath(c['file'], self.root) for c in json.load(file)}
        for name in names:
            if name in compiled or name.endswith(('.h', '.inl')):
                with open(os.path.join(self.root, name), encoding='utf-8', newline='') as file:
                    yield name, file.read()

    def configure(self):
        self.must('The tree cannot be configured',
                  ['cmake', '--preset', 'release', '-DKOWEN_WARNINGS_AS_ERRORS=OFF'])

    def prepare(self):
        """Builds everything, and sees that every test passes and how long it takes."""
        self.must('The tree does not build', ['ninja', '-C', self.build, '-j', self.jobs])
        self.list_programs()
        begin = time.monotonic()
        failed, text = self.ctest(BUILD_SECONDS)
        if failed:
            raise DoesNotWork(f'The tree fails {failed}.')
        self.seconds[''] = time.monotonic() - begin
        for program, seconds in re.findall(r'^(\S+) += +([\d.]+) sec\*proc', text, re.M):
            self.seconds[program] = float(seconds)

    def list_programs(self):
        """Programs of GoogleTest, by the folder of tests/ that they run in."""
        _, text = self.run(['ctest', '--show-only=json-v1'], 600, self.build)
        found = collections.defaultdict(set)
        for test in json.loads(text[text.index('{'):])['tests']:
            properties = {p['name']: p['value'] for p in test['properties']}
            directory = properties.get('WORKING_DIRECTORY', '')
            for label in properties.get('LABELS', []):
                if os.access(os.path.join(self.build, label), os.X_OK):
                    found[os.path.basename(directory)].add(label)
                    self.directories[label] = directory
        self.programs = {folder: sorted(names) for folder, names in found.items()}

    # --- building and testing ---------------------------------------------------------------------

    def steps(self, targets):
        """How many steps a build of these targets would take."""
        _, text = self.run(['ninja', '-C', self.build, '-n', *targets], 600)
        last = re.findall(r'^\[\d+/(\d+)\]', text, re.M)
        return int(last[-1]) if last else 0

    def make(self, targets=()):
        """Returns what the compiler says against it; an empty text when it builds."""
        status, text = self.run(['ninja', '-C', self.build, '-j', self.jobs, *targets],
                                BUILD_SECONDS)
        if status == 0:
            return ''
        errors = re.findall(r'^.*error.*$', text, re.M)
        return errors[0] if errors else 'no time' if status is None else 'no reason given'

    def allowed(self, program):
        return SECONDS_MORE + SLOWER * self.seconds[program]

    def test(self, program):
        """Returns the test that failed, an empty text when none did."""
        status, text = self.run(
            [os.path.join(self.build, program), '--gtest_fail_fast', '--gtest_brief=1'],
            self.allowed(program), self.directories[program], limited=True)
        self.clean()
        return self.verdict(program, status, re.findall(r'\[  FAILED  \] ([\w./]+)', text))

    def test_everything(self):
        return self.ctest(self.allowed(''))[0]

    def ctest(self, timeout):
        """Runs every quick test. Returns the one that failed, an empty text when none did, and what
        was written."""
        status, text = self.run(
            ['ctest', '-j', self.jobs, '--stop-on-failure', '--output-on-failure'], timeout,
            self.build, limited=True)
        self.clean()
        failed = re.findall(r'\[  FAILED  \] ([\w./]+)', text) or \
            re.findall(r'^\s+\d+ - (\S+) \((?!Skipped)', text, re.M)
        return self.verdict('ctest', status, failed), text

    @staticmethod
    def verdict(program, status, failed):
        if status == 0:
            return ''
        if status is None:
            return f'{program}: no end'
        return f'{program}: ' + (failed[0] if failed else f'status {status}')

    def clean(self):
        for name in os.listdir(self.temporary):
            path = os.path.join(self.temporary, name)
            if os.path.isdir(path) and not os.path.islink(path):
                shutil.rmtree(path, ignore_errors=True)
            else:
                os.unlink(path)
