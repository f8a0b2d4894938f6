# Completion for zsh: reads what completions lists, commands before options.
BEGIN { FS = "\t" }

function escaped(text) {
    gsub(/'/, "'\\''", text)
    gsub(/\[/, "\\[", text)
    gsub(/\]/, "\\]", text)
    gsub(/:/, "\\:", text)
    return text
}

# What completes an option's value.
function action(option, kind, list) {
    list = values(option, kind)
    if (list != "") return "(" list ")"
    if (option == "--section") return "_kowen_sections"
    if (kind ~ /^(FILE|PATH)/) return "_files"
    if (kind == "DIR") return "_files -/"
    return ""
}

NF == 2 {
    commands = commands "        '" $1 ":" escaped($2) "'\n"
    next
}

{
    if (!($1 in options)) order[++orders] = $1
    spec = $4 == "-" ? "" : ":" tolower($4) ":" action($3, $4)
    line = "            '" $3 "[" escaped($5) "]" spec "'"
    if ($2 != "-") line = line " \\\n            '" $2 "[" escaped($5) "]" spec "'"
    options[$1] = options[$1] line " \\\n"
}

# What completes the words that are no options.
function rest(command) {
    if (command ~ /^(export|estimate)$/) return "'*:picture:_files'"
    if (command == "setup set") return "'1:profile:_files' '*:setting:_kowen_settings'"
    return command ~ /^setup / ? "'1:profile:_files'" : "'*: :'"
}

function print_arguments(command, name, indent) {
    printf "%s%s)\n%s    _arguments -s \\\n%s            %s\n%s    ;;\n", indent, name, indent,
        options[command], rest(command), indent
}

END {
    print "_kowen_settings() {"
    print "    compadd -S '' -- " settings()
    print "}\n"
    print "_kowen() {"
    print "    local -a commands settings"
    printf "    commands=(\n%s    )\n", commands
    print "    if (( CURRENT == 2 )); then"
    print "        _describe command commands"
    print "        return"
    print "    fi"
    print "    local command=${words[2]}"
    print "    words=(kowen \"${(@)words[3,-1]}\")"
    print "    (( CURRENT-- ))"
    print "    case $command in"
    for (i = 1; i <= orders; i++)
        if (order[i] !~ /^setup/) print_arguments(order[i], order[i], "    ")
    print "    help)\n        _describe command commands\n        ;;"
    print "    setup)"
    print "        if (( CURRENT == 2 )); then"
    print "            settings=('show:Show a section'\\''s settings' 'set:Change them' 'sections:List the sections')"
    print "            _describe command settings"
    print "            return"
    print "        fi"
    print "        local what=${words[2]}"
    print "        words=(kowen \"${(@)words[3,-1]}\")"
    print "        (( CURRENT-- ))"
    print "        case $what in"
    for (i = 1; i <= orders; i++) {
        inner = order[i]
        if (sub(/^setup /, "", inner)) print_arguments(order[i], inner, "        ")
    }
    print "        esac"
    print "        ;;"
    print "    esac"
    print "}"
    print "_kowen \"$@\""
}
