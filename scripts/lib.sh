# Shared by the scripts: where the tree is, and packages installed when they are missing.
# To be sourced from bash, with `set -euo pipefail`.

KOWEN_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KOWEN_ROOT"

# Compiler results are reused between builds, and nothing is written outside the tree for that.
export CCACHE_DIR=${CCACHE_DIR:-$KOWEN_ROOT/build/ccache}

# What every configure preset but the clang ones needs.
KOWEN_BUILD_PACKAGES=(cmake ninja-build ccache g++-12)
# The host library: colour profiles. The command line: pictures, options, reports.
KOWEN_HOST_PACKAGES=(pkg-config liblcms2-dev libgraphicsmagick++1-dev libcli11-dev nlohmann-json3-dev)
KOWEN_TEST_PACKAGES=(libgtest-dev libjpeg62-turbo-dev nlohmann-json3-dev)

die() {
    echo "${0##*/}: $*" >&2
    exit 1
}

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "needs root (or sudo) for: $*"
    fi
}

# need_packages NAME...: installs those of the Debian packages that are not there yet.
need_packages() {
    command -v dpkg-query >/dev/null || die "not a Debian system; it would need: $*"
    local missing=() name
    for name in "$@"; do
        dpkg-query -W -f='${db:Status-Status}\n' "$name" 2>/dev/null | grep -qx installed ||
            missing+=("$name")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "installing ${missing[*]}"
    # Lists that are there may be out of date, and a mirror may stumble once.
    install_packages "${missing[@]}" && return 0
    as_root apt-get update -qq || as_root apt-get update -qq
    install_packages "${missing[@]}" || install_packages "${missing[@]}" || {
        tail -n 20 "$KOWEN_ROOT/build/logs/packages.log" >&2
        die "could not install ${missing[*]}"
    }
}

install_packages() {
    local log="$KOWEN_ROOT/build/logs/packages.log"
    mkdir -p "${log%/*}"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        -o DPkg::Lock::Timeout=300 "$@" </dev/null >"$log" 2>&1
}

# build_preset NAME [TARGET...]: configures and builds a preset of CMakePresets.json.
build_preset() {
    local preset=$1 targets=()
    shift
    [ $# = 0 ] || targets=(--target "$@")
    cmake --preset "$preset" && cmake --build --preset "$preset" "${targets[@]}"
}
