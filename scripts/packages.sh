# Debian packages that are installed when they are missing; sourced by lib.sh. On a machine without
# Debian's package tools, what the packages would bring is looked for instead.

# What every configure preset but the clang ones needs.
KOWEN_BUILD_PACKAGES=(cmake ninja-build ccache g++-12)
# The host library: colour profiles. The command line: pictures, options, reports.
KOWEN_HOST_PACKAGES=(pkg-config liblcms2-dev libpng-dev libjpeg62-turbo-dev libzimg-dev
    libgraphicsmagick1-dev libmd-dev libcli11-dev nlohmann-json3-dev)
# The GIMP plug-in: GIMP's own libraries and EXIF data.
KOWEN_GIMP_PACKAGES=(libgimp2.0-dev libgexiv2-dev)
KOWEN_TEST_PACKAGES=(libgtest-dev libjpeg62-turbo-dev libstb-dev nlohmann-json3-dev)

KOWEN_PACKAGE_LOG=$KOWEN_ROOT/build/logs/packages.log

# need_packages NAME...: installs those of the Debian packages that are not there yet.
need_packages() {
    if ! command -v dpkg-query >/dev/null; then
        need_what_packages_bring "$@"
        return
    fi
    local missing=() name
    for name in "$@"; do
        dpkg-query -W -f='${db:Status-Status}\n' "$name" 2>/dev/null | grep -qx installed ||
            missing+=("$name")
    done
    [ ${#missing[@]} = 0 ] || install_packages "${missing[@]}"
}

install_packages() {
    mkdir -p "${KOWEN_PACKAGE_LOG%/*}"
    # Lists that are there may be out of date, and a mirror may stumble once.
    announce_packages "$@" && apt_install "$@" && return 0
    echo "fetching the lists of packages"
    as_root apt-get update -qq || as_root apt-get update -qq ||
        die "the lists of packages could not be fetched: is there a network, and a mirror in /etc/apt?"
    announce_packages "$@" && { apt_install "$@" || apt_install "$@"; } || {
        tail -n 20 "$KOWEN_PACKAGE_LOG" >&2
        die "could not install $*, see $KOWEN_PACKAGE_LOG"
    }
}

# How many packages with all that they need, and how much there is to fetch.
announce_packages() {
    local count megabytes
    count=$(apt_get -s "$@" 2>"$KOWEN_PACKAGE_LOG" | grep -c '^Inst ') || return 1
    megabytes=$(apt_get --print-uris "$@" | awk '{ sum += $3 } END { print int(sum / 1e6 + 1) }')
    echo "installing $count packages, about $megabytes MB to fetch, for: $*"
}

apt_get() {
    apt-get install -y -qq --no-install-recommends "$@"
}

apt_install() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        -o DPkg::Lock::Timeout=300 "$@" </dev/null >"$KOWEN_PACKAGE_LOG" 2>&1
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

need_what_packages_bring() {
    local missing=() name
    for name in "$@"; do
        brought_by "$name" || missing+=("$name")
    done
    [ ${#missing[@]} = 0 ] || {
        echo "This is no Debian system, so nothing is installed. Missing are:" >&2
        for name in "${missing[@]}"; do
            printf '  %-34s Debian: %s\n' "$(contents_of "$name")" "$name" >&2
        done
        die "install them, then run this again"
    }
}

# brought_by PACKAGE: whether what is needed of it is there.
brought_by() {
    local wanted
    wanted=$(contents_of "$1")
    case $1 in
    ccache | ninja-build) ;; # only make builds faster
    gtk2-engines-pixbuf) ;;  # only makes screenshots prettier
    *) case $wanted in
        *.pc) command -v pkg-config >/dev/null && pkg-config --exists "${wanted%.pc}" ;;
        *.h | *.hpp) echo "#include <$wanted>" | "${CXX:-c++}" -E -x c++ - >/dev/null 2>&1 ;;
        /*) [ -e "$wanted" ] ;;
        *) command -v "$wanted" >/dev/null ;;
        esac ;;
    esac
}

# contents_of PACKAGE: the program, pkg-config module, header or directory that is needed of it.
contents_of() {
    case $1 in
    g++-12) echo "${CXX:-c++}" ;;
    liblcms2-dev) echo lcms2.pc ;;
    libgraphicsmagick1-dev) echo GraphicsMagick.pc ;;
    libmd-dev) echo libmd.pc ;;
    libpng-dev) echo libpng.pc ;;
    libzimg-dev) echo zimg.pc ;;
    libgimp2.0-dev) echo gimpui-2.0.pc ;;
    libgexiv2-dev) echo gexiv2.pc ;;
    gimp) echo gimp-console-2.10 ;;
    xvfb) echo Xvfb ;;
    procps) echo pgrep ;;
    libcli11-dev) echo CLI/CLI.hpp ;;
    nlohmann-json3-dev) echo nlohmann/json.hpp ;;
    libgtest-dev) echo gtest/gtest.h ;;
    libjpeg62-turbo-dev) echo jpeglib.h ;;
    libstb-dev) echo stb/stb_image.h ;;
    googletest) echo /usr/src/googletest ;;
    qtbase5-dev) echo Qt5Gui.pc ;;
    qt6-base-dev) echo Qt6Gui.pc ;;
    imagemagick) echo convert-im6.q16 ;;
    graphicsmagick) echo gm ;;
    *) echo "$1" ;;
    esac
}
