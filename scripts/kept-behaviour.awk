# Finds the marks of one file (variable `file`); see kept-behaviour.

# Words of a comment line without its slashes or stars; "" for an empty one.
function comment_text(line) {
    sub(/^[ \t]*(\/\/\/?<?|\/\*\*?<?|\*\/?)[ \t]*/, "", line)
    sub(/[ \t]*\*\/[ \t]*$/, "", line)
    sub(/[ \t]+$/, "", line)
    return line
}

function is_comment(line) {
    return line ~ /^[ \t]*(\/\/|\/\*|\*)/
}

# The name of what a declaration declares: the word before the first bracket, or "-". Only
# declarations stand at the line's start.
function declared_name(line, name) {
    if (line ~ /^[^ \t]/ && match(line, /[A-Za-z_][A-Za-z0-9_]*\(/)) {
        name = substr(line, RSTART, RLENGTH - 1)
        return name
    }
    return "-"
}

# Splits a mark's text into what it says and the tests it names.
function take_mark(text, what, tests, rest, word) {
    what = text
    tests = ""
    if (match(text, / ?Tests?: */)) {
        what = substr(text, 1, RSTART - 1)
        rest = substr(text, RSTART + RLENGTH)
        while (match(rest, /^(, *|and +| +)*(\.\.\.|[A-Za-z0-9_]+\.)[A-Za-z0-9_]+/)) {
            word = substr(rest, RSTART, RLENGTH)
            rest = substr(rest, RSTART + RLENGTH)
            sub(/^(, *|and +| +)*/, "", word)
            if (word ~ /^\.\.\./) word = suite "." substr(word, 4)
            else suite = substr(word, 1, index(word, ".") - 1)
            tests = tests (tests == "" ? "" : " ") word
        }
    }
    sub(/^ +/, "", what)
    sub(/ +$/, "", what)
    count++
    kinds[count] = kind
    whats[count] = what
    testsOf[count] = tests
}

function end_of_mark() {
    if (inMark) take_mark(mark)
    inMark = 0
    mark = ""
}

# A mark without a test of its own takes the one that follows it in the same comment, of a mark of
# its kind.
function flush_comment(name, i) {
    end_of_mark()
    for (i = count - 1; i >= 1; i--)
        if (testsOf[i] == "" && kinds[i] == kinds[i + 1]) testsOf[i] = testsOf[i + 1]
    for (i = 1; i <= count; i++)
        printf "%s\t%s\t%s\t%s\t%s\n", kinds[i], file, name, whats[i], testsOf[i]
    count = 0
}

is_comment($0) {
    text = comment_text($0)
    if (text == "") end_of_mark()
    while (text != "") {
        if (match(text, /(Kept deliberately|Hardened):/)) {
            before = substr(text, 1, RSTART - 1)
            nextKind = substr(text, RSTART, 4) == "Kept" ? "kept" : "hardened"
            text = substr(text, RSTART + RLENGTH)
            if (inMark) mark = mark " " before
            end_of_mark()
            inMark = 1
            kind = nextKind
        } else {
            if (inMark) mark = mark " " text
            text = ""
        }
    }
    next
}

{ if (inMark || count > 0) flush_comment(declared_name($0)) }

END { if (inMark || count > 0) flush_comment("-") }
