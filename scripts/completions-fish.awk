# Completion for fish: reads what completions lists, commands before options.
BEGIN { FS = "\t" }

function escaped(text) {
    gsub(/\\/, "\\\\", text)
    gsub(/'/, "\\'", text)
    return text
}

NF == 2 {
    printf "complete -c kowen -f -n __fish_use_subcommand -a %s -d '%s'\n", $1, escaped($2)
    next
}

$1 == "setup" { next }

{
    words = split($1, word, " ")
    condition = "'__fish_seen_subcommand_from " word[words] "'"
    line = "complete -c kowen -n " condition " -l " substr($3, 3)
    if ($2 != "-") line = line " -s " substr($2, 2)
    list = values($3, $4)
    if (list != "") line = line " -x -a '" list "'"
    else if ($3 == "--section") line = line " -x -a '(__kowen_sections)'"
    else if ($4 == "DIR") line = line " -x -a '(__fish_complete_directories)'"
    else if ($4 ~ /^(FILE|PATH)/) line = line " -r -F"
    else if ($4 != "-") line = line " -x"
    print line " -d '" escaped($5) "'"
}

END {
    show = "'__fish_seen_subcommand_from setup; and not __fish_seen_subcommand_from show set sections'"
    print "complete -c kowen -f -n " show " -a 'show set sections'"
    print "complete -c kowen -f -n __kowen_wants_setting -a '" settings() "'"
}
