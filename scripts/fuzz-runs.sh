# The file of all runs of the fuzzers, fuzz/runs.txt: a line for each, with its inputs and its time, which
# add up, and the edges and features of the last run, "-" where nobody counts them. To be sourced.

# add_run FILE NAME INPUTS SECONDS EDGES FEATURES
add_run() {
    awk -v name="$2" -v inputs="$3" -v seconds="$4" -v edges="$5" -v features="$6" '
        function in_seconds(time,    part) { # minutes, with seconds behind a colon or not
            split(time, part, ":")
            return part[1] * 60 + part[2]
        }
        function row(i, s) {
            printf "%-18s %12d %8s %7s %9s\n", name, i, sprintf("%d:%02d", s / 60, s % 60), edges,
                features
        }
        $1 == name {
            row($2 + inputs, in_seconds($3) + seconds)
            found = 1
            next
        }
        { print }
        END { if (!found) row(inputs, seconds) }' "$1" >"$1.new"
    mv "$1.new" "$1"
}

# runs_table FILE: the lines as a table, times in minutes.
runs_table() {
    awk '
        function thousands(n,    text) {
            if (n == "-") return n
            for (; n >= 1000; n = int(n / 1000)) text = sprintf(",%03d", n % 1000) text
            return n text
        }
        BEGIN { print "| Fuzzer | Inputs | Minutes | Edges | Features |\n|---|---:|---:|---:|---:|" }
        !/^#/ {
            split($3, time, ":")
            printf "| `%s` | %s | %s | %s | %s |\n", $1, thousands($2),
                thousands(int(time[1] + time[2] / 60 + 0.5)), thousands($4), thousands($5)
        }' "$1"
}
