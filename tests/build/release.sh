#!/usr/bin/env bash
# What scripts/release refuses, and what it makes, in a small repository of its own.
#
#   release.sh SOURCE_TREE
set -euo pipefail
tree=$1
command -v git >/dev/null && command -v xz >/dev/null || exit 77

directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
unset GIT_DIR GIT_WORK_TREE GIT_INDEX_FILE
export HOME=$directory GIT_CONFIG_NOSYSTEM=1
export GIT_AUTHOR_NAME=tester GIT_AUTHOR_EMAIL=tester@kowen.example
export GIT_COMMITTER_NAME=tester GIT_COMMITTER_EMAIL=tester@kowen.example

commit() {
    git add --all
    git commit --quiet --allow-empty --message "$1"
}

# A tree of version 9.8.7 that is ready for its release, as the only commit.
make_repository() {
    rm -rf "$directory/repository"
    mkdir -p "$directory/repository"/{scripts,debian,src/setup,hosts/python/kowen}
    cd "$directory/repository"
    cp "$tree"/scripts/{release,lib.sh,packages.sh} scripts
    echo 'project(kowen VERSION 9.8.7 LANGUAGES CXX)' >CMakeLists.txt
    echo 'inline constexpr uint32_t kFilterVersion = 0x09080007;' >src/setup/identity.h
    echo 'VERSION = "9.8.7"' >hosts/python/kowen/_version.py
    echo 'kowen (9.8.7-0kowen1) unstable; urgency=medium' >debian/changelog
    printf '%s\n' '# Changelog' '' '## [9.8.7] - 2031-02-28' '' '- It flies.' '' '## [9.8.6] - 2030-01-01' \
        '' '- It walks.' >CHANGELOG.md
    echo /build/ >.gitignore
    git init --quiet
    commit "Make it fly"
}

fail() {
    echo "$*"
    exit 1
}

# refuses WORDS CHANGE [ARGUMENT...]: after the change, a shell command, which is committed.
refuses() {
    local words=$1 change=$2 said
    shift 2
    make_repository
    bash -c "$change"
    commit "Break it"
    refuses_now "$words" "$@"
    [ -z "$(git tag)" ] || fail "tagged in spite of: $words"
}

refuses_now() {
    local words=$1 said
    shift
    ! said=$(scripts/release "$@" 2>&1) || fail "no refusal, wanted: $words"
    [[ $said == *"$words"* ]] || fail "refused with '$said', wanted: $words"
}

for argument in --check --dry-run; do
    refuses 'src/setup/identity.h should say 0x09080008; it says 0x09080007' \
        'sed -i s/9.8.7/9.8.8/ CMakeLists.txt' $argument
    refuses 'hosts/python/kowen/_version.py should say 9.8.7; it says 9.8.6' \
        'echo "VERSION = \"9.8.6\"" >hosts/python/kowen/_version.py' $argument
    refuses 'debian/changelog should say 9.8.7; it says nothing' 'echo >debian/changelog' $argument
    refuses "a line 'project(kowen VERSION 1.2.3" 'echo "project(kowen)" >CMakeLists.txt' $argument
done
for argument in --dry-run ''; do
    refuses "begins with '## [Unreleased]'" 'sed -i "3i ## [Unreleased]\n\n- It dives.\n" CHANGELOG.md' $argument
    refuses "begins with '## [9.8.6] - 2030-01-01'" 'sed -i 3,6d CHANGELOG.md' $argument
    refuses "dates 9.8.7 '2031-02-29', which is no day" 'sed -i s/02-28/02-29/ CHANGELOG.md' $argument
    refuses "dates 9.8.7 'soon', which is no day" 'sed -i s/2031-02-28/soon/ CHANGELOG.md' $argument
    refuses 'CHANGELOG.md says nothing about 9.8.7' 'sed -i /flies/d CHANGELOG.md' $argument
    refuses 'CHANGELOG.md has no section' 'echo >CHANGELOG.md' $argument
done
refuses "no option '--force'" : --force

make_repository
echo >>CHANGELOG.md
refuses_now 'commit or remove these first:  M CHANGELOG.md'
git checkout --quiet .
touch new
refuses_now 'commit or remove these first: ?? new' --dry-run
rm new
rm -rf build
mv .git "$directory/away"
GIT_CEILING_DIRECTORIES=$directory refuses_now 'this is no git repository'
mv "$directory/away" .git

scripts/release --dry-run
[ -z "$(git tag)" ] || fail "a dry run made a tag"
archive=build/archive/kowen-9.8.7.tar.xz
mv $archive "$directory/first.tar.xz"
released=$(git rev-parse HEAD)
touch --date=2001-01-01 CMakeLists.txt
scripts/release
cmp $archive "$directory/first.tar.xz"
(cd build/archive && sha256sum --check --strict --quiet kowen-9.8.7.tar.xz.sha256)
[ "$(tar --list --file $archive | grep -v '/$' | LC_ALL=C sort | tail -n 1)" = kowen-9.8.7/src/setup/identity.h ]
[ "$(tar --extract --to-stdout --file $archive kowen-9.8.7/hosts/python/kowen/_version.py)" = 'VERSION = "9.8.7"' ]
[ "$(git cat-file -t v9.8.7)" = tag ] || fail "the tag is not annotated"
[ "$(git rev-parse 'v9.8.7^{commit}')" = "$released" ]
[ "$(git for-each-ref --format='%(contents)' refs/tags/v9.8.7)" = "kowen 9.8.7

- It flies." ] || fail "the tag does not say what changed"
refuses_now 'v9.8.7 is tagged already'
