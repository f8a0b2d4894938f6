#!/usr/bin/env bash
# What runs of fuzzers add up to.
#
#   fuzz_runs.sh SOURCES
set -euo pipefail
. "$1/scripts/fuzz-runs.sh"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

printf '# inputs and time\nold_fuzzer 1500000 7 10 20\nmixed_fuzzer 5 1:59 1 2\n' >"$folder/runs"
add_run "$folder/runs" old_fuzzer 1 90 11 19
add_run "$folder/runs" old_fuzzer 2 45 12 18
add_run "$folder/runs" mixed_fuzzer 1 1 3 4
add_run "$folder/runs" new_fuzzer 1000 59 5 6
add_run "$folder/runs" python 7 3600 - -

expected='# inputs and time
old_fuzzer 1500003 9:15 12 18
mixed_fuzzer 6 2:00 3 4
new_fuzzer 1000 0:59 5 6
python 7 60:00 - -'
result=$(tr -s ' ' <"$folder/runs")
[ "$result" = "$expected" ] || {
    printf 'expected:\n%s\nbut it is:\n%s\n' "$expected" "$result"
    exit 1
}

expected='| Fuzzer | Inputs | Minutes | Edges | Features |
|---|---:|---:|---:|---:|
| `old_fuzzer` | 1,500,003 | 9 | 12 | 18 |
| `mixed_fuzzer` | 6 | 2 | 3 | 4 |
| `new_fuzzer` | 1,000 | 1 | 5 | 6 |
| `python` | 7 | 60 | - | - |'
result=$(runs_table "$folder/runs")
[ "$result" = "$expected" ] || {
    printf 'expected:\n%s\nbut it is:\n%s\n' "$expected" "$result"
    exit 1
}
