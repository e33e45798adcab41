#!/usr/bin/env bash
# Run as root in a fresh Debian system: installs the packages in /kx/packages, uses them and removes them. Fetches
# nothing: their dependencies lie in the system as package files.
. /kx/tests/package/common.sh
. /kx/tests/package/debian/common.sh
export LC_ALL=C DEBIAN_FRONTEND=noninteractive HOME=/root QT_QPA_PLATFORM=offscreen
cd /kx

packages=(/kx/packages/*.deb)
version=$(dpkg-deb -f "${packages[0]}" Version)
architecture=$(dpkg-deb -f "${packages[0]}" Architecture)
names=()
for file in "${packages[@]}"; do
    names+=("$(dpkg-deb -f "$file" Package):$(dpkg-deb -f "$file" Architecture)")
done

# tests/package/common.sh needs these.
CMAKE=cmake CXX=g++ KX_SOURCE=/kx
session=/kx/tests/recordings/minute
emulator=()
triplet=$(gcc -print-multiarch)
if [ "$architecture" != "$(dpkg --print-architecture)" ]; then
    case $architecture in
        armhf) triplet=arm-linux-gnueabihf processor=arm ;;
        arm64) triplet=aarch64-linux-gnu processor=aarch64 ;;
    esac
    CXX=$triplet-g++
    emulator=("/kx/qemu-$processor-static")
    export CMAKE_TOOLCHAIN_FILE=/kx/tests/package/debian/$processor.cmake
fi

# A proxy that does not exist: nothing can be fetched.
apt() {
    apt-get --yes --no-install-recommends -o Acquire::http::Proxy=http://localhost:9 \
        -o Acquire::https::Proxy=http://localhost:9 -o Acquire::Retries=0 "$@"
}

# As on a system with this architecture only and nothing installed.
suffice_with_debian() {
    : >/kx/nothing_installed
    apt --simulate -o "APT::Architecture=$architecture" -o "APT::Architectures=$architecture" \
        -o Dir::State::status=/kx/nothing_installed install "${packages[@]}"
}

install_all() {
    apt install "${packages[@]}"
    dpkg --audit
    [ -z "$(dpkg --audit)" ] || fail "dpkg finds something wrong"
}

# Asks the architecture's own loader: an ldconfig of another architecture does not serve it.
loader_finds_libraries() {
    local loader name
    loader=$(readelf -l /usr/bin/kxterminal | sed -n 's/.*interpreter: \(.*\)\]/\1/p')
    "${emulator[@]}" "$loader" --list /usr/bin/kxterminal | tee /kx/found
    for name in Events Toolkit Recording OS_ABS Hardware Utility; do
        grep "libKXAPI_$name\.so\.1 => .*/$triplet/" /kx/found || fail "the loader does not find libKXAPI_$name.so.1"
    done
}

# says_version PROGRAM: it prints the package's version without the number after the dash.
says_version() {
    expect_output "$1 ${version%-*}" "${emulator[@]}" "/usr/bin/$1" --version
}

# A recorded session gives the same events on every machine.
replay_session() {
    timeout 60 "${emulator[@]}" /usr/bin/kxreplay --expect "$session.expected" "$session.kxr"
}

    # Messages of the library stand between the events.
show_session() {
    timeout 120 "${emulator[@]}" /usr/bin/kxterminal --replay "$session.kxr" --speed 1000 --exit-at-end --print \
        >/kx/printed
    grep -E '^[0-9]+ [A-Z_]+_EVENT class=' /kx/printed | diff -U 0 "$session.expected" - ||
        fail "kxterminal does not print the events of $session.expected"
}

run_consumer() {
    expect_output 'KEY_PRESS_EVENT key=0' "${emulator[@]}" ./keypress
    expect_output $'KEY_PRESS_EVENT\nKEY_LONG_PRESS_EVENT' "${emulator[@]}" ./ownclock
}

use_with_cmake() {
    make_scratch
    build_with_cmake /usr "$scratch/consumer"
    cd "$scratch/consumer/build"
    run_consumer
    expect_output '-1 fine' "${emulator[@]}" ./tick
    expect_output "4294966296 KEY_PRESS_EVENT key=0
at 999
1000 KEY_LONG_PRESS_EVENT key=0" "${emulator[@]}" ./longpress
}

use_with_pkgconfig() {
    local program flags
    make_scratch
    cd "$scratch"
    export PKG_CONFIG_LIBDIR=/usr/lib/$triplet/pkgconfig
    flags=$(pkg-config --cflags --libs kxapi-events)
    for program in keypress ownclock; do
        # shellcheck disable=SC2086 # several words
        "$CXX" -std=c++17 "/kx/tests/package/consumer/$program.cpp" -o "$program" $flags
    done
    run_consumer
}

# make_newer FILE: makes the same package with a higher version in /kx/newer.
make_newer() {
    rm -rf /kx/unpacked
    dpkg-deb --raw-extract "$1" /kx/unpacked
    sed -i "s/\b$version\b/$version+newer/" /kx/unpacked/DEBIAN/control
    dpkg-deb --root-owner-group --build /kx/unpacked /kx/newer
}

upgrade() {
    local file
    mkdir -p /kx/newer
    for file in "${packages[@]}"; do
        make_newer "$file"
    done
    apt install /kx/newer/*.deb
    dpkg-query -W "${names[@]}"
    [ "$(dpkg-query -W -f '${Version}\n' "${names[@]}" | sort -u)" = "$version+newer" ] || fail "not all are upgraded"
    says_version kxcan
}

leave_nothing() {
    local file left=0
    dpkg -L "${names[@]}" | sort -u >/kx/files
    grep -q '/usr/include/KXAPI/' /kx/files || fail "the packages are not installed"
    dpkg --remove "${names[@]}"
    while read -r file; do
        if [ -e "$file" ] && { [ ! -d "$file" ] || [[ $file = *[Kk][Xx]* ]]; }; then
            left=1
            echo "$file is left"
        fi
    done </kx/files
    [ "$left" -eq 0 ] || fail "removed packages leave files"
    ! ldconfig -p | grep KXAPI || fail "the loader still knows the libraries"
    ! dpkg-query -W -f '${Package} ${db:Status-Status}\n' '*kxapi*' | grep -v ' not-installed$' ||
        fail "removed packages leave something to purge"
}

check "$architecture: Debian has all that the packages need" suffice_with_debian
check "$architecture: the packages can be installed" install_all
check "$architecture: the loader finds the libraries" loader_finds_libraries
for program in kxcan kxreplay kxterminal; do
    check "$architecture: $program runs" says_version "$program"
done
check "$architecture: kxreplay plays a recorded session" replay_session
check "$architecture: kxterminal shows a recorded session" show_session
check "$architecture: a program is built by CMake and runs" use_with_cmake
check "$architecture: a program is built by pkg-config and runs" use_with_pkgconfig
check "$architecture: the packages can be upgraded" upgrade
check "$architecture: the packages leave nothing when they are removed" leave_nothing
