# Makes a table of what a benchmark program measured: a line for each peer of each case, or one for
# a case without peers.
#
# Cases are named CASE/kowen and CASE/PEER.

function value(line) {
    sub(/^[^:]*: */, "", line)
    sub(/,[ \t]*$/, "", line)
    gsub(/"/, "", line)
    return line
}

# Sets name and who.
function part(run, cut) {
    sub(/\/(manual_time|iterations:).*$/, "", run)
    cut = index(run, "/")
    name = substr(run, 1, cut - 1)
    who = substr(run, cut + 1)
}

function keep(megapixels) {
    speed[name, who] = megapixels
    names[family] = name
    whos[family] = who
    if (who != "kowen") has_peer[name] = 1
    if (family > last) last = family
}

function mp(number) {
    return sprintf("%.1f", number)
}

/"family_index":/ { family = value($0) + 0 }
/"run_name":/ { part(value($0)) }
/"aggregate_name":/ { median = value($0) == "median" }
/"MP\/s":/ && median { keep(value($0) + 0) }
/"bytes":/ && median { bytes[name, who] = value($0) + 0 }

END {
    format = "%-26s %-24s %10s %10s %7s %11s %11s\n"
    printf format, "case", "peer", "kowen MP/s", "peer MP/s", "ratio", "kowen bytes", "peer bytes"
    for (i = 0; i <= last; i++) {
        name = names[i]
        who = whos[i]
        if (who == "kowen" && (name in has_peer)) continue
        if (!((name, who) in speed)) continue
        own = speed[name, "kowen"]
        if (who == "kowen") {
            printf format, name, "-", mp(own), "-", "-", bytes[name, who], "-"
            continue
        }
        printf format, name, who, own ? mp(own) : "-", mp(speed[name, who]),
            own ? sprintf("%.2f", own / speed[name, who]) : "-",
            bytes[name, "kowen"] ? bytes[name, "kowen"] : "-",
            bytes[name, who] ? bytes[name, who] : "-"
    }
}
