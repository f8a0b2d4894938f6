"""Many mutants in one build: a function that has some gets its body once more for each of them, and
which of the bodies runs is chosen when the program starts (mutant.h)."""

import bisect
import os
import re

from mutation.places import blank, closing
from mutation.tree import DoesNotWork

MUTANT = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'mutant.h')
# What stands in front of a brace whose content is looked into.
HOLDER = re.compile(
    r'(template\s*<.*>\s*)?(inline\s+)?(namespace\b.*|extern|(class|struct|union)\b[^()=]*)', re.S)
FUNCTION = re.compile(r'\)\s*(const|noexcept|override|final|->[^(){}]*|\s)*$')
ACCESS = re.compile(r'^(\s*(public|protected|private)\s*:)+')


def bodies(code):
    """Where the bodies of functions are that run: begin and end inside of the braces, outermost
    only."""
    found = []
    at = start = 0
    while at < len(code):
        if code[at] in '([':
            at = closing(code, at) + 1
        elif code[at] in ';}':
            at = start = at + 1
        elif code[at] != '{':
            at += 1
        else:
            before = ACCESS.sub('', code[start:at]).strip()
            end = closing(code, at)
            if HOLDER.fullmatch(before):
                at = start = at + 1
            elif FUNCTION.search(before):
                # What the compiler computes cannot be chosen later.
                if not re.search(r'\bconst(expr|eval)\b', before):
                    found.append((at + 1, end))
                at = start = end + 1
            else:  # a value in braces, or an enumeration
                at = end + 1
    return found


def body_of(found, mutant):
    """The body that a mutant lies in, None for one outside of functions."""
    index = bisect.bisect(found, (mutant['begin'], float('inf'))) - 1
    if index < 0 or mutant['end'] > found[index][1]:
        return None
    return found[index]


def can_be_carried(mutants, texts):
    """Those inside of functions, and the others."""
    found = {path: bodies(blank(text)) for path, text in texts.items()}
    inside, outside = [], []
    for mutant in mutants:
        (inside if body_of(found[mutant['file']], mutant) else outside).append(mutant)
    return inside, outside


def compose(text, mutants):
    """A file with all of these mutants, which have numbers, and the lines of each in it: first,
    last, number."""
    found = bodies(blank(text))
    by_body = {}
    for mutant in mutants:
        by_body.setdefault(body_of(found, mutant), []).append(mutant)
    pieces, lines, line, done = [], [], 1, 0

    def add(piece):
        nonlocal line
        pieces.append(piece)
        line += piece.count('\n')

    add(f'#include "{MUTANT}"\n')
    for (begin, end), inside in sorted(by_body.items()):
        add(text[done:begin])
        for m in inside:
            first = line
            add(f'\nif (KowenMutant({m["number"]})) {{\n' + text[begin:m['begin']] + m['new'] +
                text[m['end']:end] + '\n} else ')
            lines.append((first, line, m['number']))
        add('{\n' + text[begin:end] + '\n}\n')
        done = end
    add(text[done:])
    return ''.join(pieces), lines


class Carrier:
    """The tree with many mutants in it."""

    def __init__(self, tree, mutants):
        self.tree = tree
        self.mutants = mutants
        self.texts = {}
        self.lines = {}
        for path in sorted({m['file'] for m in mutants}):
            with open(os.path.join(tree.root, path), encoding='utf-8', newline='') as file:
                self.texts[path] = file.read()

    def write(self):
        for path, text in self.texts.items():
            mine = [m for m in self.mutants if m['file'] == path]
            text, self.lines[path] = compose(text, mine)
            with open(os.path.join(self.tree.root, path), 'w', encoding='utf-8',
                      newline='') as file:
                file.write(text)

    def blamed(self, log):
        """The numbers of the mutants that the compiler's messages are about."""
        numbers = set()
        for path, line in re.findall(r'^(?:\.\./)*(\S+?):(\d+):\d+: (?:fatal )?error', log, re.M):
            path = os.path.relpath(os.path.join(self.tree.build, path), self.tree.root) \
                if path.startswith('..') or os.path.isabs(path) else path
            for first, last, number in self.lines.get(path, []):
                if first <= int(line) <= last:
                    numbers.add(number)
        return numbers

    def build(self):
        """Builds it, without those that do not compile. Returns these."""
        dropped = []
        while True:
            self.write()
            log = self.tree.make()
            if not log:
                return dropped
            numbers = self.blamed(log)
            if not numbers:
                raise DoesNotWork(f'What carries the mutants does not build:\n{log[-4000:]}')
            dropped += [m for m in self.mutants if m['number'] in numbers]
            self.mutants = [m for m in self.mutants if m['number'] not in numbers]
