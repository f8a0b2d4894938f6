#!/usr/bin/env bash
# Asks for packages on a machine that has no package tools of Debian's: in a directory of programs
# that has few others.
#
#   missing_packages.sh TREE
set -euo pipefail
tree=$1

directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
for program in bash dirname env printf cat; do
    ln -s "$(command -v "$program")" "$directory/$program"
done
printf '#!/bin/sh\n! grep -q CLI/CLI.hpp\n' >"$directory/c++"
ln -s "$(command -v grep)" "$(command -v sh)" "$directory/"
printf '#!/bin/sh\n[ "$2" = lcms2 ]\n' >"$directory/pkg-config"
chmod +x "$directory/c++" "$directory/pkg-config"

# need PACKAGE...: what is said, then the exit status.
need() {
    PATH=$directory "$directory/bash" -c "set -euo pipefail; unset CXX; . '$tree/scripts/lib.sh'; need_packages $*" 2>&1
    echo "status $?"
}

expect() {
    [ "$2" = "$1" ] || {
        printf 'expected:\n%s\nbut it is:\n%s\n' "$1" "$2"
        exit 1
    }
}

expect "status 0" "$(set +e; need g++-12 ccache pkg-config liblcms2-dev nlohmann-json3-dev)"
expect "This is no Debian system, so nothing is installed. Missing are:
  cmake                              Debian: cmake
  GraphicsMagick.pc                  Debian: libgraphicsmagick1-dev
  CLI/CLI.hpp                        Debian: libcli11-dev
bash: install them, then run this again
status 1" "$(set +e; need cmake ninja-build g++-12 liblcms2-dev libgraphicsmagick1-dev libcli11-dev)"
