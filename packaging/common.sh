# shellcheck shell=bash
# shellcheck disable=SC2086,SC2154 # lists of packages are split on purpose; $root is the caller's
# Shared by ./run, ./test and packaging/. Set $root, the top of the project, before sourcing it.

packaging="$root/packaging"

# Messages go to standard error; standard output belongs to the program that is run.
say() {
    printf '%s\n' "$*" >&2
}

die() {
    say "error: $*"
    exit 1
}

# read_packages LIST...: the package names of packaging/packages-LIST.txt.
read_packages() {
    local list
    for list in "$@"; do
        sed -e 's/#.*//' -e 's/[[:space:]]//g' -e '/^$/d' "$packaging/packages-$list.txt"
    done
}

# missing_packages NAME...: the names that are not installed.
missing_packages() {
    local states name
    # dpkg-query fails on an unknown name, but lists all others.
    states=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null) || true
    for name in "$@"; do
        grep -qxF "installed $name" <<<"$states" || echo "$name"
    done
}

# install_packages LIST...: installs missing packages. If none is missing, it needs neither network nor root.
install_packages() {
    local wanted missing
    wanted=$(read_packages "$@")
    command -v dpkg-query apt-get >/dev/null ||
        die "this is no Debian system; needed is what these Debian packages hold:" $wanted
    missing=$(missing_packages $wanted)
    if [ -n "$missing" ]; then
        apt_install $missing
    fi
}

apt_install() {
    local become_root=()
    find_root "install packages; ask an administrator for: apt-get install $*"
    say "Installing Debian packages: $*"
    apt_log=$(mktemp)
    # If apt does not know or find a package, its lists may be old, so they are fetched again.
    if apt_run install --dry-run "$@" && apt_run install "$@"; then
        :
    elif say "Fetching the package lists" && apt_run update && apt_run install "$@"; then
        :
    else
        die "apt-get failed, its log is $apt_log: $(grep -m 1 '^E:' "$apt_log")"
    fi
    rm -f "$apt_log"
}

update_package_lists() {
    local become_root=()
    find_root "fetch package lists; ask an administrator for: apt-get update"
    say "Fetching the package lists"
    apt_log=$(mktemp)
    apt_run update || die "apt-get failed, its log is $apt_log: $(grep -m 1 '^E:' "$apt_log")"
    rm -f "$apt_log"
}

# find_root PURPOSE: sets $become_root, the words in front of a command that needs root.
find_root() {
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || die "neither root nor sudo is here to $1"
        become_root=(sudo)
    fi
}

# apt_run COMMAND ARGUMENTS...: runs apt-get without questions, with its output in $apt_log. Waits for another
# apt-get.
apt_run() {
    "${become_root[@]}" env DEBIAN_FRONTEND=noninteractive LC_ALL=C \
        apt-get -y --no-install-recommends -o DPkg::Lock::Timeout=300 -o APT::Update::Error-Mode=any "$@" \
        >"$apt_log" 2>&1 </dev/null
}

# find_release: sets $release to the name of this machine's release of Debian.
find_release() {
    release=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
    [ -n "$release" ] || die "/etc/os-release does not tell which release of Debian this is"
}

# archive_address: the archive of this machine's own packages.
# shellcheck disable=SC2016 # apt fills these in
archive_address() {
    apt-get indextargets --format '$(REPO_URI)' \
        'Created-By: Packages' 'Origin: Debian' 'Component: main' "Codename: $release" | head -n 1
}

# find_archive: sets $archive to the address from which packages of $release come.
find_archive() {
    archive=$(archive_address)
    if [ -z "$archive" ]; then
        # The address comes from the package lists, which small systems delete.
        update_package_lists
        archive=$(archive_address)
    fi
    [ -n "$archive" ] || die "apt's sources on this machine do not name the archive of Debian $release"
}

# configure PRESET: configures once and after changes of the presets. The build itself notices changed CMake files.
configure() {
    local folder="$root/build/$1"
    if [ "$folder/build.ninja" -nt "$root/CMakePresets.json" ]; then
        return 0
    fi
    say "Configuring $1"
    mkdir -p "$folder"
    if ! (cd "$root" && cmake --preset "$1") >"$folder/configure.log" 2>&1; then
        cat "$folder/configure.log" >&2
        say "error: could not configure $1"
        return 1
    fi
}

# prepare_target PRESET: makes the sysroot of arm, arm64, package-arm or package-arm64 if it is missing or outdated.
# Deletes a build that is older than the sysroot: the build would not notice new libraries whose files have old dates.
prepare_target() {
    local folder="$root/build/$1" architecture=armhf
    [[ $1 != *arm64 ]] || architecture=arm64
    "$packaging/sysroot" "$architecture" || return 1
    if [ "$root/build/sysroot-$architecture/contents" -nt "$folder/CMakeCache.txt" ]; then
        rm -rf "$folder"
    fi
}

# build PRESET [TARGET...]: builds what has changed.
build() {
    configure "$1" || return 1
    say "Building $1"
    if ! run_ninja "$root/build/$1" "${@:2}"; then
        say "error: could not build $1"
        return 1
    fi
}

# run_ninja FOLDER [TARGET...]: one progress line on a terminal, a line for each tenth elsewhere.
run_ninja() {
    if [ -t 2 ]; then
        ninja -C "$@" >&2
        return
    fi
    # Passes all lines that are no progress, such as a compiler's.
    ninja -C "$@" 2>&1 | awk '
        /^ninja: (Entering directory|no work to do)/ { next }
        /^-- (Configuring done|Generating done|Build files)/ { next }
        match($0, /^\[[0-9]+\/[0-9]+\]/) {
            split(substr($0, 2, RLENGTH - 2), step, "/")
            tenth = int(10 * step[1] / step[2])
            if (step[2] > 1 && tenth > shown) { shown = tenth; print "  " step[1] " of " step[2]; fflush() }
            next
        }
        { print; fflush() }' >&2
    return "${PIPESTATUS[0]}"
}
