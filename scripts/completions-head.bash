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

