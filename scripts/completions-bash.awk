# Completion for bash: reads what completions lists, commands before options.
BEGIN { FS = "\t" }

NF == 2 { commands = commands (commands == "" ? "" : " ") $1; next }

{
    words[$1] = words[$1] (words[$1] == "" ? "" : " ") $3
    if ($4 != "-") taking[$3] = $4
}

function values(option, kind) {
    if (option == "--colour") return "ycc422 grey rgb444"
    if (option == "--colour-mode") return "unchanged inverted greys-inverted grey grey-inverted"
    if (kind == "WHAT") return "keep drop"
    if (option == "--size") return "A4 A5 A6 letter legal picture page"
    if (option == "--dpi") return "72 96 150 300 picture page"
    return ""
}

function quoted(list) { return list == "" ? "''" : "'" list "'" }

END {
    print "# Completion of kowen for bash. Written by scripts/completions."
    print "_kowen() {"
    print "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}"
    print "    local command=${COMP_WORDS[1]} options="
    print "    # bash takes --size=A4 for three words"
    print "    [ \"$word\" != = ] || word="
    print "    [ \"$before\" != = ] || before=${COMP_WORDS[COMP_CWORD - 2]}"
    print "    COMPREPLY=()"
    print "    case $before in"
    for (option in taking) sorted[++count] = option
    for (i = 2; i <= count; i++)
        for (j = i; j > 1 && sorted[j - 1] > sorted[j]; j--) {
            swap = sorted[j]; sorted[j] = sorted[j - 1]; sorted[j - 1] = swap
        }
    for (i = 1; i <= count; i++) {
        option = sorted[i]
        list = values(option, taking[option])
        label = option == "--output" ? "-o | --output" : option == "--jobs" ? "-j | --jobs" : option
        if (list != "")
            action = "mapfile -t COMPREPLY < <(compgen -W " quoted(list) " -- \"$word\")"
        else if (taking[option] ~ /^(FILE|PATH)/)
            action = "compopt -o filenames && mapfile -t COMPREPLY < <(compgen -f -- \"$word\")"
        else if (taking[option] == "DIR")
            action = "compopt -o filenames && mapfile -t COMPREPLY < <(compgen -d -- \"$word\")"
        else
            action = ":"
        printf "    %s)\n        %s\n        return\n        ;;\n", label, action
    }
    print "    esac"
    print "    if [ \"$COMP_CWORD\" = 1 ]; then"
    print "        mapfile -t COMPREPLY < <(compgen -W '" commands " --help --version' -- \"$word\")"
    print "        return"
    print "    fi"
    print "    case $command in"
    print "    export) options=" quoted(words["export"]) " ;;"
    print "    estimate) options=" quoted(words["estimate"]) " ;;"
    print "    info) options=" quoted(words["info"]) " ;;"
    print "    help) options=" quoted(commands) " ;;"
    print "    setup)"
    print "        case ${COMP_WORDS[2]} in"
    print "        show) options=" quoted(words["setup show"]) " ;;"
    print "        set) options=" quoted(words["setup set"]) " ;;"
    print "        sections) options=" quoted(words["setup sections"]) " ;;"
    print "        esac"
    print "        [ \"$COMP_CWORD\" != 2 ] || options='show set sections --help'"
    print "        ;;"
    print "    esac"
    print "    if [[ $word == -* || $command == help || ($command == setup && $COMP_CWORD == 2) ]]; then"
    print "        mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\")"
    print "    elif [[ $command == setup && ${COMP_WORDS[2]} == set ]] && ((COMP_CWORD > 3)); then"
    print "        compopt -o nospace"
    print "        mapfile -t COMPREPLY < <(compgen -W 'quality= progressive= colour= colour-mode= size= dpi=' -- \"$word\")"
    print "    else"
    print "        compopt -o filenames"
    print "        mapfile -t COMPREPLY < <(compgen -f -- \"$word\")"
    print "    fi"
    print "}"
    print "complete -F _kowen kowen"
}
