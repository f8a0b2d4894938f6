# Splits the declarations of a C header, preprocessed, into lines; see abi. What they begin with:
#
#   function DECLARATION
#   type DECLARATION                 of a typedef that is no record
#   record NAME
#   field RECORD NAME DECLARATION
#   enumerator NAME

function trim(text) {
    gsub(/[ \t\n]+/, " ", text)
    gsub(/ ?\* ?/, " *", text)
    gsub(/\( /, "(", text)
    gsub(/ \)/, ")", text)
    gsub(/\* \*/, "**", text)
    sub(/^ /, "", text)
    sub(/ $/, "", text)
    return text
}

# The name that a field declares: in "(*name)(...)", "name[3]" or "type name".
function declared_name(text) {
    if (match(text, /\( ?\* ?[A-Za-z_0-9]+/)) text = substr(text, RSTART, RLENGTH)
    sub(/\[.*$/, "", text)
    match(text, /[A-Za-z_0-9]+$/)
    return substr(text, RSTART, RLENGTH)
}

function print_record(text, name, fields, count, i) {
    name = text
    sub(/^.*\} ?/, "", name)
    sub(/^[^{]*\{/, "", text)
    sub(/\}[^}]*$/, "", text)
    print "record " name
    count = split(text, fields, ";")
    for (i = 1; i <= count; i++)
        if (trim(fields[i]) != "") print "field " name " " declared_name(trim(fields[i])) " " trim(fields[i])
}

function print_enumerators(text, names, count, i) {
    gsub(/^[^{]*\{|\}.*$/, "", text)
    count = split(text, names, ",")
    for (i = 1; i <= count; i++) {
        sub(/=.*$/, "", names[i])
        if (trim(names[i]) != "") print "enumerator " trim(names[i])
    }
}

function print_declaration(text) {
    text = trim(text)
    sub(/^extern /, "", text)
    if (text == "" || text ~ /^_Static_assert/) return
    if (text ~ /^(typedef )?enum( |\{)/) print_enumerators(text)
    else if (text ~ /^typedef struct/ && text ~ /\{/) print_record(text)
    else if (text ~ /^typedef/) print "type " text
    else print "function " text
}

{ source = source " " $0 }

END {
    depth = 0
    begin = 1
    for (i = 1; i <= length(source); i++) {
        c = substr(source, i, 1)
        if (c == "{") depth++
        if (c == "}") depth--
        if (c != ";" || depth > 0) continue
        print_declaration(substr(source, begin, i - begin))
        begin = i + 1
    }
}
