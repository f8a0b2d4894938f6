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

. "$KOWEN_ROOT/scripts/packages.sh"

# build_preset NAME [TARGET...]: configures and builds a preset of CMakePresets.json.
build_preset() {
    local preset=$1 targets=()
    shift
    [ $# = 0 ] || targets=(--target "$@")
    cmake --preset "$preset" && cmake --build --preset "$preset" "${targets[@]}"
}
