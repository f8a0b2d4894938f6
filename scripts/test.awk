# Reads the log of ctest -V. Prints "passed failed skipped" on the first line, then what was skipped
# and why, then what failed with its last lines.
#
# A program of GoogleTest counts each of its tests; any other program counts once, and so does one
# that broke off.

function tail_of(run,    text, i) {
    text = ""
    for (i = length_of[run] > 60 ? length_of[run] - 59 : 1; i <= length_of[run]; ++i)
        text = text "      " lines[run, i] "\n"
    return text
}

function forget(run) {
    open[run] = ""
    length_of[run] = 0
}

# "12: text" is a line of run 12.
/^[0-9]+: / {
    run = $1 + 0
    text = $0
    sub(/^[0-9]+: /, "", text)
    if (match(text, /\[ RUN      \] /)) {
        forget(run)
        open[run] = substr(text, RSTART + RLENGTH)
        next
    }
    if (open[run] != "" && match(text, /\[       OK \] /)) {
        ++passed
        ++counted[run]
        forget(run)
        next
    }
    if (open[run] != "" && match(text, /\[  SKIPPED \] /)) {
        ++skipped
        ++counted[run]
        # GoogleTest says "FILE:LINE: Skipped" and the reason on the next line.
        why = lines[run, length_of[run]] == "" ? lines[run, length_of[run] - 1] : lines[run, length_of[run]]
        skips = skips "    skipped " open[run] ": " why "\n"
        forget(run)
        next
    }
    if (open[run] != "" && match(text, /\[  FAILED  \] /)) {
        ++failed
        ++counted[run]
        ++bad[run]
        failures = failures "    FAILED " open[run] "\n" tail_of(run)
        forget(run)
        next
    }
    lines[run, ++length_of[run]] = text
    next
}

# " 3/36 Test #12: name ....   Passed    0.12 sec"
/^ *[0-9]+\/[0-9]+ Test +#[0-9]+: / {
    rest = $0
    sub(/^.*Test +#/, "", rest)
    run = rest + 0
    name = rest
    sub(/^[0-9]+: +/, "", name)
    sub(/ .*$/, "", name)
    if (rest ~ /\.\.\. +Passed/) {
        if (!counted[run]) ++passed
    } else if (rest ~ /\*\*\*Skipped/) {
        ++skipped
        skips = skips "    skipped " name ": " lines[run, length_of[run]] "\n"
    } else if (!bad[run]) {
        ++failed
        what = open[run] == "" ? name : open[run] " (" name ")"
        sub(/^.*\*\*\*/, "", rest)
        failures = failures "    FAILED " what ": " rest "\n" tail_of(run)
    }
}

END {
    printf "%d %d %d\n%s%s", passed, failed, skipped, skips, failures
}
