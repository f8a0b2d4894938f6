# Completion for zsh: reads what completions lists, commands before options.
BEGIN {
    FS = "\t"
    print "#compdef kowen"
    print "# Completion of kowen for zsh. Written by scripts/completions."
}

function escaped(text) {
    gsub(/'/, "'\\''", text)
    gsub(/\[/, "\\[", text)
    gsub(/\]/, "\\]", text)
    gsub(/:/, "\\:", text)
    return text
}

function action(option, kind) {
    if (option == "--colour") return "(ycc422 grey rgb444)"
    if (option == "--colour-mode") return "(unchanged inverted greys-inverted grey grey-inverted)"
    if (kind == "WHAT") return "(keep drop)"
    if (option == "--size") return "(A4 A5 A6 letter legal picture page)"
    if (option == "--dpi") return "(72 96 150 300 picture page)"
    if (kind ~ /^(FILE|PATH)/) return "_files"
    if (kind == "DIR") return "_files -/"
    return ""
}

NF == 2 {
    commands = commands "        '" $1 ":" escaped($2) "'\n"
    names = names (names == "" ? "" : " ") $1
    next
}

{
    spec = $4 == "-" ? "" : ":" tolower($4) ":" action($3, $4)
    line = "            '" $3 "[" escaped($5) "]" spec "'"
    if ($2 != "-") line = line " \\\n            '" $2 "[" escaped($5) "]" spec "'"
    options[$1] = options[$1] line " \\\n"
}

function arguments(command, rest) {
    return "        _arguments -s \\\n" options[command] "            '" rest "'\n"
}

END {
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
    printf "    export)\n%s        ;;\n", arguments("export", "*:picture:_files")
    printf "    estimate)\n%s        ;;\n", arguments("estimate", "*:picture:_files")
    printf "    info)\n%s        ;;\n", arguments("info", "*: :")
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
    printf "        show)\n%s            ;;\n", arguments("setup show", "*:profile:_files")
    printf "        set)\n%s            ;;\n", arguments("setup set", "*:profile:_files")
    printf "        sections)\n%s            ;;\n", arguments("setup sections", "*:profile:_files")
    print "        esac"
    print "        ;;"
    print "    esac"
    print "}"
    print "_kowen \"$@\""
}
