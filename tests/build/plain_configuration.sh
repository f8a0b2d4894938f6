#!/usr/bin/env bash
# Sets up a build as people do who know CMake and not this tree, on a machine that has the compiler
# only: the commands that it would run make an optimised module and nothing else.
#
#   plain_configuration.sh TREE C_COMPILER C++_COMPILER
set -euo pipefail
tree=$1
export CC=$2 CXX=$3 # which may go by other names than cc and c++

directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
unset CFLAGS CXXFLAGS LDFLAGS CMAKE_BUILD_TYPE CMAKE_GENERATOR

give_up() {
    cat "$2"
    echo "$1"
    exit 1
}

cmake -G Ninja -S "$tree" -B "$directory" -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
    -DCMAKE_DISABLE_FIND_PACKAGE_PkgConfig=ON -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON \
    -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON >"$directory/log" 2>&1 ||
    give_up "it cannot be set up" "$directory/log"
grep -q "The module alone is built: the command line would need pkg-config, CLI11" "$directory/log" ||
    give_up "it does not say what is left out" "$directory/log"

# Each library that the command line links is looked for, and no other.
if command -v pkg-config >/dev/null; then
    printf '#!/bin/sh\ncase "$*" in *zimg* | *++*) exit 1 ;; esac\nexec pkg-config "$@"\n' >"$directory/few"
    chmod +x "$directory/few"
    PKG_CONFIG=$directory/few cmake -G Ninja -S "$tree" -B "$directory/few-libraries" \
        >"$directory/few.log" 2>&1 || give_up "it cannot be set up without zimg" "$directory/few.log"
    grep -q 'the command line would need .*zimg' "$directory/few.log" ||
        give_up "it does not say that zimg is missing" "$directory/few.log"
    ! grep -F '++' "$directory/few.log" | grep -q 'would need' ||
        give_up "it asks for what nothing links" "$directory/few.log"
fi

ninja -C "$directory" -t commands all >"$directory/commands"
grep -q -- " -O3 .*$tree/src/module/" "$directory/commands" ||
    give_up "it does not optimise the module" "$directory/commands"
grep -q -- ' -o kowen.so ' "$directory/commands" ||
    give_up "it does not make the module" "$directory/commands"
! grep -qE -- "-Werror|$tree/(tests|host|tools)/|\.a( |$)" "$directory/commands" ||
    give_up "it makes more than the module" "$directory/commands"
