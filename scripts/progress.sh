# How steps of scripts/test tell how far they are. Each show_... reads the output of a command from
# standard input, keeps it in a log and shows a count that moves: in place on a terminal, else a line
# every ten seconds.

# show_count TEXT: what a count is now.
show_count() {
    if [ -t 1 ]; then
        printf '\r\033[K    %s' "$1"
    elif [ $((SECONDS - last_shown)) -ge 10 ]; then
        printf '    %s\n' "$1"
        last_shown=$SECONDS
    fi
}

end_count() {
    [ ! -t 1 ] || printf '\r\033[K'
}

# show_build LOG: lines of Ninja, "[3/280] Building ...".
show_build() {
    local line last_shown=$SECONDS
    while IFS= read -r line; do
        printf '%s\n' "$line"
        [[ $line != \[*/*\]* ]] || show_count "building: ${line%%]*}]" >&3
    done 3>&1 >"$1"
    end_count
}

# show_tests LOG: lines of ctest -V, with GoogleTest's for each test.
show_tests() {
    local line last_shown=$SECONDS ended=0 bad=0
    while IFS= read -r line; do
        printf '%s\n' "$line"
        case $line in
        *"[       OK ] "* | *"[  SKIPPED ] "*" ms)") ended=$((ended + 1)) ;;
        *"[  FAILED  ] "*" ms)") ended=$((ended + 1)) bad=$((bad + 1)) ;;
        *) continue ;;
        esac
        show_count "testing: $ended done, $bad failed" >&3
    done 3>&1 >"$1"
    end_count
}
