# A bare Debian 12 in a folder, for what must not touch this machine's packages. Needs root. To be
# sourced after lib.sh. Fetched packages stay in build/chroot/archives.

CHROOTS=$KOWEN_ROOT/build/chroot

# fresh_chroot NAME: in build/chroot/NAME, in place of what was there.
fresh_chroot() {
    [ "$(id -u)" = 0 ] || die "making a Debian to work in (chroot) needs root; run this with sudo"
    need_packages debootstrap
    mkdir -p "$CHROOTS/archives" "$CHROOTS/debootstrap"
    # A week on, it would be a Debian without the fixes of that week.
    [ -z "$(find "$CHROOTS/base" -maxdepth 0 -mtime +7 2>/dev/null)" ] || remove_chroot base
    [ -d "$CHROOTS/base" ] || bootstrap
    remove_chroot "$1"
    cp -a "$CHROOTS/base" "$CHROOTS/$1"
    find "$CHROOTS/archives" -name '*.deb' -exec ln -t "$CHROOTS/$1/var/cache/apt/archives" {} +
}

bootstrap() {
    echo "fetching a bare Debian"
    remove_chroot unfinished
    debootstrap --variant=minbase --cache-dir="$CHROOTS/debootstrap" bookworm "$CHROOTS/unfinished" \
        >"$CHROOTS/debootstrap.log" 2>&1 ||
        { tail -n 5 "$CHROOTS/debootstrap.log" >&2 && die "debootstrap failed, see $CHROOTS/debootstrap.log"; }
    rm -rf "$CHROOTS/unfinished/var/cache/apt/archives/"*.deb
    touch "$CHROOTS/unfinished"
    mv "$CHROOTS/unfinished" "$CHROOTS/base"
}

# remove_chroot NAME: keeps what it fetched.
remove_chroot() {
    find "$CHROOTS/$1/var/cache/apt/archives" -maxdepth 1 -name '*.deb' \
        -exec cp --link --no-clobber --target-directory="$CHROOTS/archives" {} + 2>/dev/null || true
    rm -rf --one-file-system "${CHROOTS:?}/$1"
}

# in_chroot NAME COMMAND...: what is mounted for it goes with it, however it ends.
in_chroot() {
    local root=$CHROOTS/$1
    shift
    unshare --mount --pid --fork --kill-child bash -c '
        root=$0
        mount -t proc proc "$root/proc"
        exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 TERM=dumb \
            ${http_proxy:+http_proxy="$http_proxy"} DEBIAN_FRONTEND=noninteractive \
            chroot "$root" "$@"' "$root" "$@" </dev/null
}

# The tracked files, or without git all but what was built; each ends in a zero byte.
list_sources() {
    if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
        git ls-files -z
    else
        find . -path ./build -prune -o -type f -printf '%P\0'
    fi
}

# copy_sources FOLDER: what list_sources lists, with the same access for whatever the umask is.
copy_sources() {
    mkdir -p "$1" &&
        list_sources | tar --create --null --files-from=- | tar --extract --directory "$1" &&
        chmod -R u=rwX,go=rX "$1"
}
