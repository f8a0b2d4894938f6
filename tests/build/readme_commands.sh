#!/usr/bin/env bash
# Runs the commands of the README's block that begins with "kowen", in a fresh directory.
#
#   readme_commands.sh README.md HOST SAMPLE_PROGRAM
set -euo pipefail
readme=$1 host=$2 sample=$3

directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
cd "$directory"
mkdir bin
ln -s "$host" bin/kowen
PATH=$directory/bin:$PATH
"$sample" holiday.ppm
mv holiday.ppm holiday.png
mkdir photos
cp holiday.png photos/
unset INIDIR DISPLAYINFO

commands=$(awk '/^```/ { inside = 0 } inside { print } /^```sh/ { inside = 1 }' "$readme" |
    grep '^kowen ')
[ "$(wc -l <<<"$commands")" -ge 5 ] || {
    echo "the README's commands were not found"
    exit 1
}
while IFS= read -r command; do
    echo "+ $command"
    bash -c "set -eu; $command"
done <<<"$commands"

# Each JPEG that a command names is there and whole.
while IFS= read -r jpeg; do
    [ "$(tail -c 2 "$jpeg" | od -An -tx1 | tr -d ' ')" = ffd9 ] || {
        echo "$jpeg is not a whole JPEG"
        exit 1
    }
done < <(grep -oE '[a-z]+\.jpg' <<<"$commands" | sort -u)
