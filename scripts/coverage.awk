# Sums the files that gcovr lists (CSV: file, lines, lines run, share, branches, branches taken...)
# up by folder, as a table.

function share(part, whole) {
    return whole ? sprintf("%.1f %%", 100 * part / whole) : "-"
}

function row(name, lines, run, branches, taken) {
    printf "| %s | %d | %s | %d | %s |\n", name, lines, share(run, lines), branches,
        share(taken, branches)
}

BEGIN {
    FS = ","
    print "| Folder | Lines | Run | Branches | Taken |"
    print "|---|---:|---:|---:|---:|"
}

FNR > 1 {
    folder = $1
    sub(/\/[^\/]*$/, "", folder)
    if (!(folder in lines)) order[++count] = folder
    lines[folder] += $2
    run[folder] += $3
    branches[folder] += $5
    taken[folder] += $6
    allLines += $2
    allRun += $3
    allBranches += $5
    allTaken += $6
}

END {
    for (i = 1; i <= count; i++)
        row("`" order[i] "`", lines[order[i]], run[order[i]], branches[order[i]], taken[order[i]])
    row("all", allLines, allRun, allBranches, allTaken)
}
