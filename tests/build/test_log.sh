#!/usr/bin/env bash
# Gives scripts/test.awk a log with a program that passes, one that breaks off, one that is no
# GoogleTest program, and one whose output runs into another's.
#
#   test_log.sh test.awk
set -euo pipefail

log='test 1
1: [ RUN      ] Disk.Reads
1: [       OK ] Disk.Reads (0 ms)
2: [ RUN      ] Host.Stops
1: [ RUN      ] Disk.Writes
1: /t/disk_test.cpp:7: Skipped
1: no disk
1: 
1: [  SKIPPED ] Disk.Writes (0 ms)
1: [ RUN      ] Disk.Fills
1: text without an end[       OK ] Disk.Fills (3 ms)
2: half a line
1: [ RUN      ] Disk.Fails/1
1: /t/disk_test.cpp:9: Failure
1: [  FAILED  ] Disk.Fails/1, where GetParam() = 1 (0 ms)
1: [  PASSED  ] 2 tests.
1: [  SKIPPED ] 1 test, listed below:
1: [  SKIPPED ] Disk.Writes
1: [  FAILED  ] 1 test, listed below:
1: [  FAILED  ] Disk.Fails/1, where GetParam() = 1
1/4 Test #1: disk_tests .......***Failed    0.10 sec
2/4 Test #2: host_tests .......***Exception: SegFault  0.20 sec
3: all is well
3/4 Test #3: Golden.Digests ...   Passed    0.00 sec
4: no golden files
4/4 Test #4: Golden.Files .....***Failed    0.00 sec'

expected='3 3 1
    skipped Disk.Writes: no disk
    FAILED Disk.Fails/1
      /t/disk_test.cpp:9: Failure
    FAILED Host.Stops (host_tests): Exception: SegFault  0.20 sec
      half a line
    FAILED Golden.Files: Failed    0.00 sec
      no golden files'

result=$(awk -f "$1" <<<"$log")
[ "$result" = "$expected" ] || {
    printf 'expected:\n%s\nbut it is:\n%s\n' "$expected" "$result"
    exit 1
}
