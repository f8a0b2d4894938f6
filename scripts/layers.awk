# Reads the sources of src/, headers first to last, and prints what breaks their order: an include
# of a folder that stands below the file's own, and a name that two headers define. See
# scripts/layers, which gives the order in `layers`.

BEGIN {
    count = split(layers, order, " ")
    for (i = 1; i <= count; i++) rank[order[i]] = i
}

FNR == 1 {
    if (NR > 1) end_of_file()
    text = ""
    file = FILENAME
    split(file, part, "/")
    folder = part[2]
    if (!(folder in rank)) complain(file ": the folder " folder " has no place in the order")
}

/^#include "/ {
    split($0, quoted, "\"")
    check_include(quoted[2])
}

# A definition by macro; include guards are pragmas here.
/^#define / { if (file ~ /\.h$/) define($2) }

!/^#/ { sub(/\/\/.*/, ""); text = text " " $0 }

END {
    if (NR > 0) end_of_file()
    exit failed
}

function complain(what) {
    print what
    failed = 1
}

function check_include(header,    parts, to) {
    split(header, parts, "/")
    to = parts[1]
    if (!(to in rank))
        complain(file ": \"" header "\" is in no folder of the order")
    else if (rank[to] > rank[folder])
        complain(file ": " folder " -> " to ", upward, by \"" header "\"")
    else if (header == "platform/current_setup.h" && rank[folder] < rank["setup"] &&
             folder != "platform")
        complain(file ": " folder " knows nothing of the current setup, yet includes \"" header "\"")
}

function define(name) {
    sub(/\(.*/, "", name)
    if ((name in definer) && definer[name] != file)
        complain(file ": " name " is a name of " definer[name] " too")
    definer[name] = file
}

# What stands in a header between the braces of named namespaces, statement by statement. Bodies
# count as nothing, and neither do unnamed namespaces, whose names are each file's own, except that
# the enumerators of a plain enumeration are names as well.
function end_of_file(    i, c, depth, statement, body, plain) {
    if (file !~ /\.h$/) return
    gsub(/'[{}();]'|"[^"]*"/, " ", text)
    statement = body = ""
    for (i = 1; i <= length(text); i++) {
        c = substr(text, i, 1)
        if (c == "{" && depth == 0 && statement ~ /(^| )namespace +[A-Za-z0-9_:]+ *$/) {
            statement = ""
        } else if (c == "{") {
            if (depth++ == 0) {
                plain = statement ~ /^ *enum / && statement !~ /^ *enum (class|struct) /
                name_statement(statement, 1)
                statement = body = ""
            }
        } else if (c == "}" && depth > 0) {
            if (--depth == 0 && plain) name_enumerators(body)
        } else if (depth > 0) {
            body = body c
        } else if (c == ";") {
            name_statement(statement, 0)
            statement = ""
        } else if (c != "}") {
            statement = statement c
        }
    }
}

function name_enumerators(body,    parts, n, i) {
    n = split(body, parts, ",")
    for (i = 1; i <= n; i++) {
        sub(/=.*/, "", parts[i])
        gsub(/ /, "", parts[i])
        if (parts[i] != "") define(parts[i])
    }
}

# Takes the name that a statement defines or declares. Types that are only announced, members
# defined outside of their type, assertions and macros that are used have none here.
function name_statement(s, hasBody,    name) {
    while (s ~ /^ *template *</) s = substr(s, end_of_angles(s) + 1)
    gsub(/\[\[[^]]*\]\]|alignas\([^)]*\)/, "", s)
    gsub(/^ +| +$/, "", s)
    if (s == "" || s ~ /^(static_assert|friend|using namespace|namespace)/) return
    if (s ~ /^(struct|class|union|enum) / && (hasBody || s ~ /^enum/) && s !~ /[(=]/) {
        sub(/^(struct|class|union|enum( class| struct)?) /, "", s)
        sub(/[ :].*/, "", s)
        if (hasBody && s != "") define(s)
        return
    }
    if (s ~ /^(struct|class|union) [A-Za-z0-9_]+$/) return
    if (s ~ /^using /) sub(/^using /, "", s)
    else if (s ~ /^[^=]*\(/) sub(/ *\(.*/, "", s)
    sub(/ *[=[].*/, "", s)
    if (!match(s, /[A-Za-z_][A-Za-z0-9_:]*$/)) return
    name = substr(s, RSTART, RLENGTH)
    if (name !~ /::/ && name !~ /^(operator|KOWEN_(OFFSET|SIZE))/ && s !~ /operator/) define(name)
}

function end_of_angles(s,    i, c, open) {
    for (i = index(s, "<"); i <= length(s); i++) {
        c = substr(s, i, 1)
        if (c == "<") open++
        if (c == ">" && --open == 0) return i
    }
    return length(s)
}
