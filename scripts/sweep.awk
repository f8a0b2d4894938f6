# Sums the rows that fault_sweep prints up as the two tables of docs/reliability.md: by kind of failure
# and by door.

function thousands(n,    text) {
    for (; n >= 1000; n = int(n / 1000)) text = sprintf(",%03d", n % 1000) text
    return n text
}

BEGIN {
    kinds = split("allocations|calls on files|transfers cut short|a disk that is full, at each byte|" \
                  "the host's procedure answering 0, -1, fewer or more|cancels", kindTitle, "|")
    split("heap|file|short transfer|disk full|host:|cancel", kindWord, "|")
    doors = split("bitmap door|raster device|export device|profiles read, rewritten and made",
                  doorTitle, "|")
    split("bitmap|raster|export|profile", doorWord, "|")
}

# NAME KIND MODE POINTS CRASHES LEAKS FINDINGS; kinds and modes have spaces in them.
match($0, /(only that|that and next|that and later) +[0-9]+/) {
    points = substr($0, RSTART, RLENGTH)
    sub(/.* /, "", points)
    row = substr($0, 1, RSTART - 1)
    for (i = 1; i <= kinds; ++i)
        if (match(row, " " kindWord[i] "[^:]*$")) {
            ofKind[i] += points
            name = substr(row, 1, RSTART)
        }
    sub(/ +$/, "", name)
    for (i = 1; i <= doors; ++i)
        if (index(row, doorWord[i]) == 1) {
            ofDoor[i] += points
            if (!seen[name]++) scenarios[i]++
        }
    all += points
}

END {
    print "| Kind | Points |\n|---|---:|"
    for (i = 1; i <= kinds; ++i)
        if (ofKind[i]) printf "| %s | %s |\n", kindTitle[i], thousands(ofKind[i])
    printf "| all | %s |\n\n", thousands(all)
    print "| Scenarios | Number | Points |\n|---|---:|---:|"
    for (i = 1; i <= doors; ++i)
        if (scenarios[i])
            printf "| %s | %d | %s |\n", doorTitle[i], scenarios[i], thousands(ofDoor[i])
}
