#!/usr/bin/env bash
# packaging/release refuses a tree whose version, changes, tag or baselines do not agree, and makes the same archive of
# the same commit anywhere.
. "$(dirname "$0")/common.sh"
make_scratch
tree=$scratch/tree
export GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_NOSYSTEM=1 GIT_AUTHOR_NAME=a GIT_AUTHOR_EMAIL=a@b.example \
    GIT_COMMITTER_NAME=a GIT_COMMITTER_EMAIL=a@b.example

# A small project with what the script looks at.
make_tree() {
    local part
    mkdir -p "$tree/events" "$tree/packaging/debian" "$tree/packaging/abi/amd64"
    cd "$tree"
    cp "$KX_SOURCE/packaging/release" "$KX_SOURCE/packaging/common.sh" packaging
    echo 'set(KXAPI_MAINTAINER "Maker <maker@maker.example>")' >packaging/maker.cmake
    cp "$KX_SOURCE/events/KXVersion.h" events
    for part in "MAJOR 3" "MINOR 1" "PATCH 4"; do
        sed -i "s/^\(#define KXAPI_EVENTS_VERSION_${part% *}\) .*/\1 ${part#* }/" events/KXVersion.h
    done
    printf '# Changes\n\n## 3.1.4, 2026-12-01\n\n- More.\n\n## 3.1.3, 2026-11-01\n' >CHANGELOG.md
    echo 'kxapi-events (3.1.4-1) unstable; urgency=medium' >packaging/debian/changelog.in
    echo 3.1.4 >packaging/abi/amd64/version
    echo "<abi-corpus version='2.1' soname='libKXAPI_Events.so.3'>" >packaging/abi/amd64/libKXAPI_Events.abi
    echo 'libKXAPI_Events.so.3 libkxapi-events3 #MINVER#' >packaging/debian/symbols.amd64
    git init -q .
    git add -A
    git commit -q -m 'Begin'
    git tag v3.1.4
}

release() {
    "$tree/packaging/release" "$@" >"$scratch/output" 2>&1
}

expect_said() {
    grep -qF -- "$1" "$scratch/output" || fail "it does not say '$1' but: $(cat "$scratch/output")"
}

# refuses TEXT ARGUMENTS...: says TEXT and makes no archive. Then takes the change back.
refuses() {
    rm -rf "$scratch/made"
    ! release "${@:2}" "$scratch/made" || fail "it makes an archive, and does not say: $1"
    expect_said "$1"
    [ ! -e "$scratch/made" ] || fail "it makes something all the same: $1"
    git -C "$tree" reset -q --hard v3.1.4
    git -C "$tree" clean -qfd
}

# change FILE SED-COMMAND: with a commit, so that nothing else is wrong.
change() {
    sed -i "$2" "$tree/$1"
    git -C "$tree" commit -q -a -m 'Change'
}

make_tree
release "$scratch/first" || fail "a tree in order is refused: $(cat "$scratch/output")"
expect_said 'names no real maintainer'
! grep -qF 'git tag' "$scratch/output" || fail "it wants a tag that is there"

touch "$tree/new"
refuses 'not everything is committed'
echo >>"$tree/CHANGELOG.md"
refuses 'not everything is committed'
change CHANGELOG.md 's/More/Much more/'
refuses 'the commit has no tag v3.1.4'
change CHANGELOG.md 's/3.1.4, 2026-12-01/3.1.4, not yet released/'
refuses "begins with '## 3.1.4, not yet released'" --untagged
change CHANGELOG.md 's/2026-12-01/2026-12-32/'
refuses "begins with '## 3.1.4, 2026-12-32'" --untagged
change CHANGELOG.md 's/3\.1\.4/3.1.5/'
refuses 'CHANGELOG.md begins with' --untagged
change packaging/debian/changelog.in 's/3\.1\.4/3.1.40/'
refuses 'changelog.in begins with' --untagged
change events/KXVersion.h 's/VERSION_PATCH 4/VERSION_PATCH 5/'
refuses 'the commit has no tag v3.1.5'
change packaging/abi/amd64/version 's/4/3/'
refuses "are of version '3.1.3'" --untagged
change packaging/abi/amd64/libKXAPI_Events.abi 's/so\.3/so.2/'
refuses 'has another SONAME' --untagged
change packaging/debian/symbols.amd64 '$a libKXAPI_New.so.3 libkxapi-events3 #MINVER#'
refuses 'has no baseline of libKXAPI_New' --untagged

# Another machine: another place, settings, mask, time zone and time of the files.
git clone -q "$tree" "$scratch/other place"
tree="$scratch/other place"
find "$tree" -not -path '*/.git/*' -exec touch -d 2001-01-01 {} +
git -C "$tree" config tar.umask 0077
git -C "$tree" config core.autocrlf true
echo '*.md export-ignore' >"$tree/.git/info/attributes"
(umask 077 && TZ=Pacific/Auckland release "$scratch/second") || fail "a clone is refused: $(cat "$scratch/output")"
cmp "$scratch/first/kxapi-events-3.1.4.tar.gz" "$scratch/second/kxapi-events-3.1.4.tar.gz" ||
    fail "two machines make different archives"
(cd "$scratch/second" && sha256sum --check --quiet kxapi-events-3.1.4.tar.gz.sha256) || fail "the check sum is wrong"
tar -xzf "$scratch/second/kxapi-events-3.1.4.tar.gz" -C "$scratch"
diff -r --exclude=.git "$tree" "$scratch/kxapi-events-3.1.4" || fail "the archive is not the tree"

git -C "$tree" tag -d v3.1.4 >"$scratch/deleted"
release --untagged "$scratch/third" || fail "--untagged is refused: $(cat "$scratch/output")"
expect_said 'git tag -s v3.1.4'
cmp "$scratch/first/kxapi-events-3.1.4.tar.gz" "$scratch/third/kxapi-events-3.1.4.tar.gz"
