# Finds the options in what `kowen COMMAND --help` prints; see completions. A description may begin
# on the line after the option.

function put() {
    if (long != "") printf "%s\t%s\t%s\t%s\t%s\n", command, short, long, value, text
    long = ""
}

/^[A-Z].*:$/ { put(); inside = /^Options:/ }

inside && /^  -/ {
    put()
    line = substr($0, 3)
    gap = match(line, /  +/)
    text = gap ? substr(line, RSTART + RLENGTH) : ""
    if (gap) line = substr(line, 1, RSTART - 1)
    value = "-"
    if (match(line, / /)) {
        value = substr(line, RSTART + 1)
        line = substr(line, 1, RSTART - 1)
        sub(/[ :].*/, "", value)
        if (value == "Excludes") value = "-" # a remark on an option that takes nothing
    }
    short = "-"
    names = split(line, name, ",")
    for (i = 1; i <= names; i++) {
        if (name[i] ~ /^-[a-zA-Z]$/) short = name[i]
        else if (long == "") long = name[i]
    }
    next
}

inside && /^      / {
    sub(/^ +/, "")
    text = text == "" ? $0 : text " " $0
}

END { put() }
