# Completion of kowen for fish. Written by scripts/completions.

# The words in front of the one being typed that are neither options nor what follows the options
# given, from the one of that number on.
function __kowen_plain_words
    set -l words (commandline -opc)
    set -l before
    for word in $words[$argv[1]..-1]
        string match -q -- '-*' $word; or contains -- "$before" $argv[2..-1]; or echo -- $word
        set before $word
    end
end

# The sections of the profile that the words name, as the program finds it.
function __kowen_sections
    set -l words (commandline -opc)
    set -l profile kowen.ini
    if test "$words[2]" = setup
        set profile (__kowen_plain_words 4 --section)[1]
    else
        set -l before
        for word in $words
            test "$before" = --profile; and set profile $word
            string match -q -- '--profile=*' $word
            and set profile (string replace -- '--profile=' '' $word)
            set before $word
        end
    end
    if test -n "$INIDIR"; and not string match -q -- '/*' $profile; and test -f "$INIDIR/$profile"
        set profile $INIDIR/$profile
    end
    set profile (string replace -r '^~/' "$HOME/" -- $profile)
    test -f "$profile"; and command kowen setup sections -- $profile 2>/dev/null
end

# Whether `kowen setup set` has its profile, so that settings follow.
function __kowen_wants_setting
    set -l words (commandline -opc)
    test "$words[2] $words[3]" = 'setup set'; and test (count (__kowen_plain_words 4 --section)) -gt 0
end

