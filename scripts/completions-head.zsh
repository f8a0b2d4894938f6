#compdef kowen
# Completion of kowen for zsh. Written by scripts/completions.

# Offers the sections of the profile that the words name, as the program finds it. `command` and `words`
# are those of _kowen.
_kowen_sections() {
    local profile= i
    local -a names
    if [[ $command == setup ]]; then
        for ((i = 2; i <= $#words; ++i)); do
            [[ $i != $CURRENT && $words[i] != -* && $words[i-1] != --section ]] || continue
            profile=$words[i]
            break
        done
    else
        profile=kowen.ini
        for ((i = 2; i < CURRENT; ++i)); do
            [[ $words[i] != --profile ]] || profile=$words[i+1]
            [[ $words[i] != --profile=* ]] || profile=${words[i]#*=}
        done
    fi
    [[ -z $INIDIR || $profile == /* || ! -f $INIDIR/$profile ]] || profile=$INIDIR/$profile
    profile=${(Q)${profile/#\~\//$HOME/}}
    [[ -f $profile ]] || return 1
    names=(${(f)"$(command kowen setup sections -- $profile 2>/dev/null)"})
    compadd -a names
}

