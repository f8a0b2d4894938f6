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

complete -c kowen -f -n __fish_use_subcommand -a export -d 'Save pictures as JPEG files'
complete -c kowen -f -n __fish_use_subcommand -a estimate -d 'Show what each quality costs and how it looks'
complete -c kowen -f -n __fish_use_subcommand -a setup -d 'Show and change the settings in a profile'
complete -c kowen -f -n __fish_use_subcommand -a info -d 'Show the filter\'s version and the formats that are read'
complete -c kowen -f -n __fish_use_subcommand -a selftest -d 'Check that the filter makes every byte right here'
complete -c kowen -f -n __fish_use_subcommand -a help -d 'Explain a command: kowen help export'
complete -c kowen -n '__fish_seen_subcommand_from export' -l help -s h -d 'Print this help message and exit'
complete -c kowen -n '__fish_seen_subcommand_from export' -l output -s o -r -F -d 'The file to make of one picture'
complete -c kowen -n '__fish_seen_subcommand_from export' -l to -x -a '(__fish_complete_directories)' -d 'The folder for the JPEGs'
complete -c kowen -n '__fish_seen_subcommand_from export' -l recursive -s r -d 'Take the pictures in folders'
complete -c kowen -n '__fish_seen_subcommand_from export' -l jobs -s j -x -d 'Pictures at a time (default: one for each processor)'
complete -c kowen -n '__fish_seen_subcommand_from export' -l force -d 'Replace JPEGs of the same names'
complete -c kowen -n '__fish_seen_subcommand_from export' -l update -d 'Replace JPEGs that are older than their pictures, pass over the others'
complete -c kowen -n '__fish_seen_subcommand_from export' -l quality -x -d '45 (smallest file) to 100 (best picture; the default)'
complete -c kowen -n '__fish_seen_subcommand_from export' -l colour -x -a 'ycc422 grey rgb444' -d 'How colours are stored: ycc422 (the default) or grey; rgb444 with --as-filter'
complete -c kowen -n '__fish_seen_subcommand_from export' -l colour-mode -x -a 'unchanged inverted greys-inverted grey grey-inverted' -d 'What is done to the colours: unchanged, inverted, greys-inverted, grey, grey-inverted'
complete -c kowen -n '__fish_seen_subcommand_from export' -l max-bytes -x -d 'The highest quality up to --quality that fits: 300k, 2M'
complete -c kowen -n '__fish_seen_subcommand_from export' -l size -x -a 'A4 A5 A6 letter legal picture page' -d 'A box to fit into: WxH in in, cm, mm or px, a paper\'s name (A4, letter), picture or page'
complete -c kowen -n '__fish_seen_subcommand_from export' -l dpi -x -a '72 96 150 300 picture page' -d 'N, NxM, picture or page (default: picture)'
complete -c kowen -n '__fish_seen_subcommand_from export' -l page -x -d 'The page that page stands for: WxH@DPI'
complete -c kowen -n '__fish_seen_subcommand_from export' -l background -x -d 'What transparent pixels show: #rrggbb or a name (default white)'
complete -c kowen -n '__fish_seen_subcommand_from export' -l exif -x -a 'keep drop' -d 'keep (the default) or drop'
complete -c kowen -n '__fish_seen_subcommand_from export' -l icc -x -a 'keep drop' -d 'The colour profile: keep (the default), or drop after using it'
complete -c kowen -n '__fish_seen_subcommand_from export' -l comment -x -a 'keep drop' -d 'keep or drop (the default)'
complete -c kowen -n '__fish_seen_subcommand_from export' -l progressive -d 'A file that builds up in steps'
complete -c kowen -n '__fish_seen_subcommand_from export' -l sequential -d 'A file in one pass, also when the profile says otherwise'
complete -c kowen -n '__fish_seen_subcommand_from export' -l as-filter -d 'Colours, sizes and the file as the filter itself has them'
complete -c kowen -n '__fish_seen_subcommand_from export' -l resize -x -d '1200x, x800, 1200x800 or 50%'
complete -c kowen -n '__fish_seen_subcommand_from export' -l shrink-only -d 'Leave pictures alone that --resize would enlarge'
complete -c kowen -n '__fish_seen_subcommand_from export' -l accept-truncated -d 'Take what there is of a cut PNG, PNM or JPEG'
complete -c kowen -n '__fish_seen_subcommand_from export' -l profile -r -F -d 'Start from the settings in this file (default: kowen.ini in the folder that INIDIR names or here, when there is one)'
complete -c kowen -n '__fish_seen_subcommand_from export' -l section -x -a '(__kowen_sections)' -d 'The profile\'s section (default: the one its ~Mode names)'
complete -c kowen -n '__fish_seen_subcommand_from export' -l save -d 'Keep the settings of this export in the profile'
complete -c kowen -n '__fish_seen_subcommand_from export' -l module -r -F -d 'The filter to load'
complete -c kowen -n '__fish_seen_subcommand_from export' -l json -d 'Report as JSON on the standard output'
complete -c kowen -n '__fish_seen_subcommand_from export' -l quiet -s q -d 'Print nothing but failures'
complete -c kowen -n '__fish_seen_subcommand_from export' -l no-progress -d 'No progress bar'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l help -s h -d 'Print this help message and exit'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l compare -r -F -d 'Make a picture of the differences'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l quality -x -d '45 (smallest file) to 100 (best picture; the default)'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l colour -x -a 'ycc422 grey rgb444' -d 'How colours are stored: ycc422 (the default) or grey; rgb444 with --as-filter'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l colour-mode -x -a 'unchanged inverted greys-inverted grey grey-inverted' -d 'What is done to the colours: unchanged, inverted, greys-inverted, grey, grey-inverted'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l max-bytes -x -d 'The highest quality up to --quality that fits: 300k, 2M'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l size -x -a 'A4 A5 A6 letter legal picture page' -d 'A box to fit into: WxH in in, cm, mm or px, a paper\'s name (A4, letter), picture or page'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l dpi -x -a '72 96 150 300 picture page' -d 'N, NxM, picture or page (default: picture)'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l page -x -d 'The page that page stands for: WxH@DPI'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l background -x -d 'What transparent pixels show: #rrggbb or a name (default white)'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l exif -x -a 'keep drop' -d 'keep (the default) or drop'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l icc -x -a 'keep drop' -d 'The colour profile: keep (the default), or drop after using it'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l comment -x -a 'keep drop' -d 'keep or drop (the default)'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l progressive -d 'A file that builds up in steps'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l sequential -d 'A file in one pass, also when the profile says otherwise'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l as-filter -d 'Colours, sizes and the file as the filter itself has them'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l resize -x -d '1200x, x800, 1200x800 or 50%'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l shrink-only -d 'Leave pictures alone that --resize would enlarge'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l accept-truncated -d 'Take what there is of a cut PNG, PNM or JPEG'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l profile -r -F -d 'Start from the settings in this file (default: kowen.ini in the folder that INIDIR names or here, when there is one)'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l section -x -a '(__kowen_sections)' -d 'The profile\'s section (default: the one its ~Mode names)'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l module -r -F -d 'The filter to load'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l json -d 'Report as JSON on the standard output'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l quiet -s q -d 'Print nothing but failures'
complete -c kowen -n '__fish_seen_subcommand_from estimate' -l no-progress -d 'No progress bar'
complete -c kowen -n '__fish_seen_subcommand_from info' -l help -s h -d 'Print this help message and exit'
complete -c kowen -n '__fish_seen_subcommand_from info' -l module -r -F -d 'The filter to load'
complete -c kowen -n '__fish_seen_subcommand_from info' -l json -d 'Report as JSON on the standard output'
complete -c kowen -n '__fish_seen_subcommand_from selftest' -l help -s h -d 'Print this help message and exit'
complete -c kowen -n '__fish_seen_subcommand_from selftest' -l module -r -F -d 'The filter to load'
complete -c kowen -n '__fish_seen_subcommand_from selftest' -l json -d 'Report as JSON on the standard output'
complete -c kowen -n '__fish_seen_subcommand_from show' -l help -s h -d 'Print this help message and exit'
complete -c kowen -n '__fish_seen_subcommand_from show' -l json -d 'Report as JSON on the standard output'
complete -c kowen -n '__fish_seen_subcommand_from show' -l section -x -a '(__kowen_sections)' -d 'The section (default: the one the profile\'s ~Mode names)'
complete -c kowen -n '__fish_seen_subcommand_from set' -l help -s h -d 'Print this help message and exit'
complete -c kowen -n '__fish_seen_subcommand_from set' -l json -d 'Report as JSON on the standard output'
complete -c kowen -n '__fish_seen_subcommand_from set' -l section -x -a '(__kowen_sections)' -d 'The section (default: the one the profile\'s ~Mode names)'
complete -c kowen -n '__fish_seen_subcommand_from set' -l quiet -s q -d 'Print nothing but failures'
complete -c kowen -n '__fish_seen_subcommand_from sections' -l help -s h -d 'Print this help message and exit'
complete -c kowen -n '__fish_seen_subcommand_from sections' -l json -d 'Report as JSON on the standard output'
complete -c kowen -f -n '__fish_seen_subcommand_from setup; and not __fish_seen_subcommand_from show set sections' -a 'show set sections'
complete -c kowen -f -n __kowen_wants_setting -a 'quality= progressive= colour= colour-mode= size= dpi='
