# Completion for bash: reads what completions lists, commands before options.
BEGIN { FS = "\t" }

NF == 2 { commands = commands (commands == "" ? "" : " ") $1; next }

{
    if (!($1 in words)) order[++orders] = $1
    words[$1] = words[$1] (words[$1] == "" ? "" : " ") $3
    if ($4 != "-") taking[$3] = $4
    if ($2 != "-") short[$3] = $2
}

function quoted(list) { return list == "" ? "''" : "'" list "'" }

# What completes an option's value.
function action(option, list) {
    list = values(option, taking[option])
    if (list != "") return "mapfile -t COMPREPLY < <(compgen -W " quoted(list) " -- \"$word\")"
    if (option == "--section") return "_kowen_sections \"$word\""
    if (taking[option] ~ /^(FILE|PATH)/)
        return "compopt -o filenames && mapfile -t COMPREPLY < <(compgen -f -- \"$word\")"
    if (taking[option] == "DIR")
        return "compopt -o filenames && mapfile -t COMPREPLY < <(compgen -d -- \"$word\")"
    return ":"
}

function print_values(sorted, count, option, i, j, swap) {
    for (option in taking) sorted[++count] = option
    for (i = 2; i <= count; i++)
        for (j = i; j > 1 && sorted[j - 1] > sorted[j]; j--) {
            swap = sorted[j]; sorted[j] = sorted[j - 1]; sorted[j - 1] = swap
        }
    print "    case $before in"
    for (i = 1; i <= count; i++)
        printf "    %s%s)\n        %s\n        return\n        ;;\n",
            (sorted[i] in short) ? short[sorted[i]] " | " : "", sorted[i], action(sorted[i])
    print "    esac"
}

# The options of each command; those of setup are its commands' own.
function print_options(i, inner) {
    print "    case $command in"
    for (i = 1; i <= orders; i++)
        if (order[i] !~ /^setup/) print "    " order[i] ") options=" quoted(words[order[i]]) " ;;"
    print "    help) options=" quoted(commands) " ;;"
    print "    setup)"
    print "        case ${COMP_WORDS[2]} in"
    for (i = 1; i <= orders; i++) {
        inner = order[i]
        if (sub(/^setup /, "", inner))
            print "        " inner ") options=" quoted(words[order[i]]) " ;;"
    }
    print "        esac"
    print "        [ \"$COMP_CWORD\" != 2 ] || options='show set sections --help'"
    print "        ;;"
    print "    esac"
}

END {
    print "_kowen() {"
    print "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}"
    print "    local command=${COMP_WORDS[1]} options="
    print "    # bash takes --size=A4 for three words"
    print "    [ \"$word\" != = ] || word="
    print "    [ \"$before\" != = ] || before=${COMP_WORDS[COMP_CWORD - 2]}"
    print "    COMPREPLY=()"
    print_values()
    print "    if [ \"$COMP_CWORD\" = 1 ]; then"
    print "        mapfile -t COMPREPLY < <(compgen -W '" commands " --help --version' -- \"$word\")"
    print "        return"
    print "    fi"
    print_options()
    print "    if [[ $word == -* || $command == help || ($command == setup && $COMP_CWORD == 2) ]]; then"
    print "        mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\")"
    print "    elif [[ $command == setup && ${COMP_WORDS[2]} == set ]] && ((COMP_CWORD > 3)); then"
    print "        compopt -o nospace"
    print "        mapfile -t COMPREPLY < <(compgen -W " quoted(settings()) " -- \"$word\")"
    print "    else"
    print "        compopt -o filenames"
    print "        mapfile -t COMPREPLY < <(compgen -f -- \"$word\")"
    print "    fi"
    print "}"
    print "complete -F _kowen kowen"
}
