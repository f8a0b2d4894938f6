# Shared by the scripts: where the tree is, how it is built, and what has to be installed for that.
# To be sourced from bash, with `set -euo pipefail`.

KOWEN_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KOWEN_ROOT"

# What is read from other programs has one language, and points in its numbers.
export LC_ALL=C.UTF-8

# Compiler results are reused between builds, and nothing is written outside the tree for that.
export CCACHE_DIR=${CCACHE_DIR:-$KOWEN_ROOT/build/ccache}

die() {
    echo "${0##*/}: $*" >&2
    exit 1
}

# no_option WORD
no_option() {
    echo "${0##*/}: no option '$1'; scripts/${0##*/} --help tells what there is" >&2
    exit 2
}

# What stands at the head of a script is its help. Sourced, this sees the script's arguments.
case ${1:-} in
-h | --help)
    sed -n '2,${ /^#/!q; s/^# \{0,1\}//; p; }' "$KOWEN_ROOT/scripts/${0##*/}"
    exit
    ;;
esac

. "$KOWEN_ROOT/scripts/packages.sh"

# build_preset NAME [TARGET...]: configures and builds a preset of CMakePresets.json.
build_preset() {
    local preset=$1 targets=()
    shift
    [ $# = 0 ] || targets=(--target "$@")
    cmake --preset "$preset" && cmake --build --preset "$preset" "${targets[@]}"
}
