# Completion of kowen for bash. Written by scripts/completions.

# _kowen_profile: the profile that the words name, as the program finds it; empty for none.
_kowen_profile() {
    local i word profile=
    if [ "${COMP_WORDS[1]}" = setup ]; then
        for ((i = 3; i < ${#COMP_WORDS[@]}; ++i)); do
            [[ $i != "$COMP_CWORD" && ${COMP_WORDS[i]} != [-=]* && ${COMP_WORDS[i - 1]} != --section &&
                ${COMP_WORDS[i - 1]} != = ]] || continue
            profile=${COMP_WORDS[i]}
            break
        done
    else
        profile=kowen.ini
        for ((i = 2; i < COMP_CWORD; ++i)); do
            [ "${COMP_WORDS[i]}" = --profile ] || continue
            word=${COMP_WORDS[i + 1]}
            [ "$word" != = ] || word=${COMP_WORDS[i + 2]}
            profile=$word
        done
    fi
    [[ -z ${INIDIR:-} || $profile == /* || ! -f $INIDIR/$profile ]] || profile=$INIDIR/$profile
    profile=${profile/#\~\//$HOME/}
    printf '%s\n' "${profile//[\"\'\\]/}"
}

# _kowen_sections WORD: offers the sections of that profile. They are somebody else's text, so nothing
# expands them.
_kowen_sections() {
    local profile name quoted
    profile=$(_kowen_profile)
    [ -f "$profile" ] || return 0
    while IFS= read -r name; do
        printf -v quoted %q "$name"
        [[ $quoted != "$1"* ]] || COMPREPLY+=("$quoted")
    done < <(command kowen setup sections -- "$profile" 2>/dev/null)
}

_kowen() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local command=${COMP_WORDS[1]} options=
    # bash takes --size=A4 for three words
    [ "$word" != = ] || word=
    [ "$before" != = ] || before=${COMP_WORDS[COMP_CWORD - 2]}
    COMPREPLY=()
    case $before in
    --background)
        :
        return
        ;;
    --colour)
        mapfile -t COMPREPLY < <(compgen -W 'ycc422 grey rgb444' -- "$word")
        return
        ;;
    --colour-mode)
        mapfile -t COMPREPLY < <(compgen -W 'unchanged inverted greys-inverted grey grey-inverted' -- "$word")
        return
        ;;
    --comment)
        mapfile -t COMPREPLY < <(compgen -W 'keep drop' -- "$word")
        return
        ;;
    --compare)
        compopt -o filenames && mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
        ;;
    --dpi)
        mapfile -t COMPREPLY < <(compgen -W '72 96 150 300 picture page' -- "$word")
        return
        ;;
    --exif)
        mapfile -t COMPREPLY < <(compgen -W 'keep drop' -- "$word")
        return
        ;;
    --icc)
        mapfile -t COMPREPLY < <(compgen -W 'keep drop' -- "$word")
        return
        ;;
    -j | --jobs)
        :
        return
        ;;
    --max-bytes)
        :
        return
        ;;
    --module)
        compopt -o filenames && mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
        ;;
    -o | --output)
        compopt -o filenames && mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
        ;;
    --page)
        :
        return
        ;;
    --profile)
        compopt -o filenames && mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
        ;;
    --quality)
        :
        return
        ;;
    --resize)
        :
        return
        ;;
    --section)
        _kowen_sections "$word"
        return
        ;;
    --size)
        mapfile -t COMPREPLY < <(compgen -W 'A4 A5 A6 letter legal picture page' -- "$word")
        return
        ;;
    --to)
        compopt -o filenames && mapfile -t COMPREPLY < <(compgen -d -- "$word")
        return
        ;;
    esac
    if [ "$COMP_CWORD" = 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W 'export estimate setup info selftest help --help --version' -- "$word")
        return
    fi
    case $command in
    export) options='--help --output --to --recursive --jobs --force --update --quality --colour --colour-mode --max-bytes --size --dpi --page --background --exif --icc --comment --progressive --sequential --as-filter --resize --shrink-only --accept-truncated --profile --section --save --module --json --quiet --no-progress' ;;
    estimate) options='--help --compare --quality --colour --colour-mode --max-bytes --size --dpi --page --background --exif --icc --comment --progressive --sequential --as-filter --resize --shrink-only --accept-truncated --profile --section --module --json --quiet --no-progress' ;;
    info) options='--help --module --json' ;;
    selftest) options='--help --module --json' ;;
    help) options='export estimate setup info selftest help' ;;
    setup)
        case ${COMP_WORDS[2]} in
        show) options='--help --json --section' ;;
        set) options='--help --json --section --quiet' ;;
        sections) options='--help --json' ;;
        esac
        [ "$COMP_CWORD" != 2 ] || options='show set sections --help'
        ;;
    esac
    if [[ $word == -* || $command == help || ($command == setup && $COMP_CWORD == 2) ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    elif [[ $command == setup && ${COMP_WORDS[2]} == set ]] && ((COMP_CWORD > 3)); then
        compopt -o nospace
        mapfile -t COMPREPLY < <(compgen -W 'quality= progressive= colour= colour-mode= size= dpi=' -- "$word")
    else
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}
complete -F _kowen kowen
