# Makes a table of what export_bench measured: one line for each peer of a case.

function value(line) {
    sub(/^[^:]*: */, "", line)
    sub(/,[ \t]*$/, "", line)
    gsub(/"/, "", line)
    return line
}

/"family_index":/ { family = value($0) + 0 }
/"run_name":/ { run = value($0); sub(/\/manual_time.*$/, "", run) }
/"aggregate_name":/ { aggregate = value($0) }
/"MP\/s":/ && aggregate == "median" { speed[run] = value($0) + 0; order[family] = run }
/"bytes":/ && aggregate == "median" { bytes[run] = value($0) + 0 }

END {
    line = "%-20s %-24s %10s %10s %7s %11s %11s\n"
    printf line, "case", "peer", "kowen MP/s", "peer MP/s", "ratio", "kowen bytes", "peer bytes"
    for (i = 0; i in order; i++) {
        cut = index(order[i], "/")
        name = substr(order[i], 1, cut - 1)
        who = substr(order[i], cut + 1)
        own = name "/kowen"
        if (who == "kowen") continue
        if (own in speed)
            printf line, name, who, sprintf("%.1f", speed[own]), sprintf("%.1f", speed[order[i]]), \
                sprintf("%.2f", speed[own] / speed[order[i]]), bytes[own], bytes[order[i]]
        else
            printf line, name, who, "-", sprintf("%.1f", speed[order[i]]), "-", "-", \
                bytes[order[i]]
    }
}
