# What options take, for every shell; see completions.

# The words, with spaces between them; empty where there is no list of them.
function values(option, kind) {
    if (option == "--colour") return "ycc422 grey rgb444"
    if (option == "--colour-mode") return "unchanged inverted greys-inverted grey grey-inverted"
    if (kind == "WHAT") return "keep drop"
    if (option == "--size") return "A4 A5 A6 letter legal picture page"
    if (option == "--dpi") return "72 96 150 300 picture page"
    return ""
}

# Of what `kowen setup set` keeps.
function settings() { return "quality= progressive= colour= colour-mode= size= dpi=" }
