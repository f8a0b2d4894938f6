#!/usr/bin/env bash
# What scripts say of themselves, and what they do with an option that they do not have.
#
#   script_options.sh SOURCES
set -euo pipefail
scripts=$1/scripts

fail() {
    echo "$*" >&2
    exit 1
}

for script in $(cd "$scripts" && grep -l '^\. .*/lib\.sh"$' $(find . -maxdepth 1 -type f -perm -u+x)); do
    help=$("$scripts/$script" --help </dev/null) || fail "$script --help fails"
    [ "# $(head -n 1 <<<"$help")" = "$(sed -n 2p "$scripts/$script")" ] ||
        fail "$script --help prints: $(head -n 1 <<<"$help")"
    ! grep -q 'set -euo' <<<"$help" || fail "$script --help prints more than its head"
done
for script in abi bench coverage format fuzz fuzz-python kept-behaviour layers package release sweep test; do
    status=0
    said=$("$scripts/$script" --not-an-option 2>&1 </dev/null) || status=$?
    [ "$status" = 2 ] || fail "$script --not-an-option ends with $status"
    grep -q -e "no option '--not-an-option'" <<<"$said" || fail "$script says: $said"
done
