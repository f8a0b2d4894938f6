"""Where a C++ file can be changed so that a test should notice, and into what."""

import re
from typing import NamedTuple


class Place(NamedTuple):
    """One change: the characters begin to end of the file become new."""

    kind: str
    begin: int
    end: int
    new: str


SWAPS = {
    'relation': {'<': ['<=', '>='], '<=': ['<', '>'], '>': ['>=', '<'], '>=': ['>', '<='],
                 '==': ['!='], '!=': ['==']},
    'arithmetic': {'+': ['-'], '-': ['+'], '*': ['/', '+'], '/': ['*'], '%': ['/']},
    'logic': {'&&': ['||'], '||': ['&&']},
    'shift': {'<<': ['>>'], '>>': ['<<']},
    'bits': {'&': ['|'], '|': ['&'], '^': ['|']},
    'compound': {'+=': ['-='], '-=': ['+='], '*=': ['/='], '/=': ['*='], '<<=': ['>>='],
                 '>>=': ['<<='], '&=': ['|='], '|=': ['&='], '^=': ['|=']},
}
KEYWORDS = set('''using return if for while switch case default do else goto template typedef struct
    class enum namespace static const constexpr constinit extern auto public private protected friend
    break continue inline operator delete union typename throw try catch'''.split())

# Of a table's numbers so many stand for one that is changed.
TABLE_NUMBERS = 40
LITERALS = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"([^(\s]*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"'
    r"|(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+'", re.S)
DIRECTIVES = re.compile(r'^[ \t]*#(?:[^\n]*\\\n)*[^\n]*', re.M)
CHECKED_BY_THE_COMPILER = re.compile(r'\b(static_assert|KOWEN_[A-Z_]+|__attribute__)\s*\(')
# The layout puts spaces around binary operators, and around nothing else that looks like one.
OPERATORS = re.compile(
    r'(?<=\s)(<<=|>>=|<=|>=|==|!=|<<|>>|&&|\|\||[-+*/%&|^]=|[-+*/%&|^<>])(?=\s)')
INTEGERS = re.compile(r"(?<![\w.'])(0[xX][0-9a-fA-F']+|\d[\d']*)([uUlLzZ]*)(?![\w.'])")
STATEMENT_STARTS = re.compile(
    r'(?<=[;{})])\s*(?=[\w*:(]|\+\+|--)|\belse\s+(?=[\w*])|:\s+(?=[\w*])')
TARGET = r'(\*?\(?\*?[\w:]+(?:(?:\.|->|::)\w+|\[[^;{}]*?\]|\((?:[^;{}]*?)\))*\)?)'
ASSIGNMENT = re.compile(TARGET + r'(\+\+|--)?\s*([-+*/%&|^]|<<|>>)?=\s.*', re.S)
STEP = re.compile(r'(\+\+|--)[\w.\->:\[\]]+|[\w.\->:\[\]]+(\+\+|--)')
CALL = re.compile(r'[\w:]+(?:(?:\.|->|::)\w+|\[[^;{}]*?\])*(<[^;{}()]*>)?\(.*\)', re.S)
DECLARATION = re.compile(r'[A-Z]\w*\(\)')


def closing(code, at):
    """Where the bracket at `at` closes; the text's last place if it never does."""
    pairs = {'(': ')', '[': ']', '{': '}'}
    depth = 0
    for i in range(at, len(code)):
        if code[i] in pairs:
            depth += 1
        elif code[i] in pairs.values():
            depth -= 1
            if depth == 0:
                return i
    return len(code) - 1


def blank(text):
    """The text with all that is no statement (comments, strings, directives, checks of the
    compiler) as spaces, so that every place stays where it is."""
    code = list(text)

    def wipe(begin, end):
        code[begin:end] = (c if c == '\n' else ' ' for c in code[begin:end])

    for match in LITERALS.finditer(text):
        quote = match.group()[0] == "'"  # the marks of a character stay: it is a value
        wipe(match.start() + quote, match.end() - quote)
    for match in DIRECTIVES.finditer(''.join(code)):
        wipe(match.start(), match.end())
    left = ''.join(code)
    for match in CHECKED_BY_THE_COMPILER.finditer(left):
        wipe(match.start(), closing(left, match.end() - 1) + 1)
    for match in re.finditer(r'\[\[.*?\]\]', ''.join(code)):
        wipe(match.start(), match.end())
    return ''.join(code)


def operators(code):
    for match in OPERATORS.finditer(code):
        before = code[:match.start()][-12:]
        if re.search(r'\b(template|operator)\s*$', before):
            continue
        if match.group() == '*' and re.search(r'\bconst\s*$', before):
            continue
        for kind, swaps in SWAPS.items():
            for new in swaps.get(match.group(), []):
                yield Place(kind, match.start(), match.end(), new)
    for match in re.finditer(r'\+\+|--', code):
        yield Place('step', match.start(), match.end(), '--' if match.group() == '++' else '++')


def decisions(code, text):
    for match in re.finditer(r'\b(if|while)\s*\(', code):
        end = closing(code, match.end() - 1)
        condition = code[match.end():end]
        declares = re.match(r'\s*(const )?[\w:<>]+ [*&]?\w+ = ', condition)
        if ';' not in condition and not declares:
            yield Place('condition', match.end(), end, '!(' + text[match.end():end] + ')')
    for match in re.finditer(r'(?<![\w)])!(?=[\w(*:])', code):
        yield Place('negation', match.start(), match.end(), '')


def values(code):
    for match in re.finditer(r'\b(true|false)\b', code):
        new = 'false' if match.group() == 'true' else 'true'
        yield Place('boolean', match.start(), match.end(), new)
    for match in re.finditer(r'\bstd::(min|max)\b', code):
        new = 'std::max' if match.group(1) == 'min' else 'std::min'
        yield Place('minmax', match.start(), match.end(), new)
    yield from integers(code)


def integers(code):
    """One more and one less; of the numbers of a table only a few."""
    tables = [(m.start(), m.end()) for m in re.finditer(r'\{[^{};]*\}', code)
              if len(re.findall(r'\b\d', m.group())) > 16]
    for match in INTEGERS.finditer(code):
        at = match.start()
        if any(begin <= at < end for begin, end in tables) and at * 7919 % TABLE_NUMBERS:
            continue
        digits = match.group(1).replace("'", '')
        if digits[0] == '0' and digits.isdigit() and len(digits) > 1:
            continue  # octal
        value = int(digits, 0)
        for new in sorted({value + 1, value - 1} - {-1}):
            shown = f'0x{new:X}' if digits[:2].lower() == '0x' else str(new)
            yield Place('constant', at, match.end(), shown + match.group(2))


def statement_end(code, begin):
    """Where the statement's semicolon is; None for what is none of its own."""
    end = begin
    while end < len(code) and code[end] not in ';{}':
        end = closing(code, end) + 1 if code[end] in '([' else end + 1
    if end >= len(code) or code[end] == '}':
        return None
    if code[end] == ';':
        return end
    close = closing(code, end)  # a brace in what is assigned, perhaps
    assigned = code[close + 1:close + 2] == ';' and re.search(r'= \w*$', code[begin:end])
    return close + 1 if assigned else None


def statements(code):
    """Assignments and calls that are left out."""
    for match in STATEMENT_STARTS.finditer(code):
        begin = match.end()
        end = statement_end(code, begin)
        if end is None:
            continue
        statement = code[begin:end]
        if re.match(r'\w*', statement).group() in KEYWORDS:
            continue
        calls = CALL.fullmatch(statement) and not DECLARATION.fullmatch(statement)
        if calls or ASSIGNMENT.fullmatch(statement) or STEP.fullmatch(statement):
            yield Place('statement', begin, end, '')
    for match in re.finditer(r'\b(break|continue);', code):
        yield Place('jump', match.start(), match.end() - 1, '')


def returns(code):
    for match in re.finditer(r'\breturn ([^;{}]+);', code):
        value = match.group(1).strip()
        if value == '0':
            yield Place('return', match.start(1), match.end(1), '-1')
        elif value not in ('true', 'false', 'nullptr'):
            yield Place('return', match.start(1), match.end(1), '{}')


def places(text):
    """Every place of a file."""
    code = blank(text)
    return [*operators(code), *decisions(code, text), *values(code), *statements(code),
            *returns(code)]


def is_boundary(kind, old, new):
    """Whether hardly every test would see it: a boundary, one more or less, something left out."""
    if kind == 'relation':
        return {old, new} in ({'<', '<='}, {'>', '>='})
    return kind in ('constant', 'statement', 'logic', 'minmax', 'boolean', 'jump', 'negation')
