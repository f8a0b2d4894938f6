# Makes a table of what a benchmark program measured: a line for each peer of each case.
#
# Cases are named CASE/kowen and CASE/PEER (export_bench), or CASE and PeerCASE (color_bench).

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
    if (cut > 0) {
        name = substr(run, 1, cut - 1)
        who = substr(run, cut + 1)
    } else if (match(run, /^(Leptonica|Pillow)/)) {
        name = substr(run, RLENGTH + 1)
        who = substr(run, 1, RLENGTH)
    } else {
        name = run
        who = "kowen"
    }
}

function keep(megapixels) {
    speed[name, who] = megapixels
    names[family] = name
    whos[family] = who
    if (family > last) last = family
}

function mp(number) {
    return sprintf("%.1f", number)
}

/"family_index":/ { family = value($0) + 0 }
/"run_name":/ { part(value($0)) }
/"aggregate_name":/ { median = value($0) == "median" }
/"MP\/s":/ && median { keep(value($0) + 0) }
/"items_per_second":/ && median { keep(value($0) / 1e6) }
/"bytes":/ && median { bytes[name, who] = value($0) + 0 }

END {
    format = "%-20s %-24s %10s %10s %7s %11s %11s\n"
    printf format, "case", "peer", "kowen MP/s", "peer MP/s", "ratio", "kowen bytes", "peer bytes"
    for (i = 0; i <= last; i++) {
        name = names[i]
        who = whos[i]
        if (who == "kowen" || !((name, who) in speed)) continue
        own = speed[name, "kowen"]
        printf format, name, who, own ? mp(own) : "-", mp(speed[name, who]),
            own ? sprintf("%.2f", own / speed[name, who]) : "-",
            bytes[name, "kowen"] ? bytes[name, "kowen"] : "-",
            bytes[name, who] ? bytes[name, who] : "-"
    }
}
