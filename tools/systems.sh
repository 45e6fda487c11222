#!/usr/bin/env bash
# tools/systems.sh [NAME...]: runs what ships in root file systems of Debian; ./dev systems calls it.
#
# A NAME is a release, 11, 12 or 13, or a release with an architecture: 12-arm64, which runs in an
# emulator. Without names all of them run. The root file systems are made once by debootstrap and kept
# in the user's cache; each run works on a throw-away layer above one.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/common.sh
source tools/common.sh

readonly cache=${XDG_CACHE_HOME:-$HOME/.cache}/zelectronframework
readonly node_versions=(18 22)
declare -rA suites=([11]=bullseye [12]=bookworm [13]=trixie)
passed=0
failed=0

# runtime_packages RELEASE: what the package needs besides Debian's minimal system. From Debian 13 on
# the packages of Qt carry a suffix.
runtime_packages() {
    local suffix5core=libqt5core5a suffix=
    (($1 >= 13)) && suffix5core=libqt5core5t64 suffix=t64
    printf '%s,libqt5network5%s,libqt5test5%s,libedit2,libglib2.0-0%s' \
        "$suffix5core" "$suffix" "$suffix" "$suffix"
}

is_foreign() { [[ $1 != "$(dpkg --print-architecture)" ]]; }

# emulated COMMAND...: runs COMMAND where programs for 64-bit Arm run as if they were the machine's own.
# The emulator is registered in a user namespace, so that nothing outside notices.
emulated() {
    local gate own child status=0
    ((EUID == 0)) || die "only root can run another architecture"
    gate=$(mktemp -u)
    mkfifo "$gate"
    own=$(readlink /proc/self/ns/user)
    # shellcheck disable=SC2016 # expanded by the inner shell
    unshare --user --mount --propagation private bash -c '
        read -r <"$1"
        mount -t binfmt_misc binfmt_misc /proc/sys/fs/binfmt_misc
        elf="\x7fELF\x02\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\xb7\x00"
        mask="\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff"
        printf "%s" ":arm64:M::$elf:$mask:/usr/bin/qemu-aarch64-static:F" \
            >/proc/sys/fs/binfmt_misc/register
        exec "${@:2}"
    ' emulated "$gate" "$@" &
    child=$!
    while [[ $(readlink "/proc/$child/ns/user") == "$own" ]]; do
        sleep 0.05
    done
    echo 0 0 65536 >"/proc/$child/uid_map"
    echo 0 0 65536 >"/proc/$child/gid_map"
    echo >"$gate"
    wait "$child" || status=$?
    rm "$gate"
    return "$status"
}

# make_root RELEASE ARCHITECTURE FOLDER
make_root() {
    local release=$1 architecture=$2 folder=$3 run=as_root
    is_foreign "$architecture" && run=emulated
    as_root rm -rf "$folder.part"
    mkdir -p "$cache/archives-$architecture" "${folder%/*}"
    # The variable lets debootstrap bind devices where it may not make them: in a user namespace.
    "$run" env container=lxc debootstrap --variant=minbase --arch="$architecture" \
        --cache-dir="$cache/archives-$architecture" --include="$(runtime_packages "$release")" \
        "${suites[$release]}" "$folder.part" "$(debian_mirror)" &&
        as_root mv "$folder.part" "$folder"
}

# inside ARCHITECTURE FOLDER COMMAND...: runs COMMAND in that root file system.
inside() {
    local run=as_root
    is_foreign "$1" && run=emulated
    "$run" unshare --mount --pid --fork --kill-child tools/systems/enter.sh "$2" "$PWD" "$cache" "${@:3}"
}

# step SYSTEM WHAT COMMAND...: counts; the rest of the system still runs after a failure.
step() {
    local system=$1 what=$2
    shift 2
    if quietly "Debian $system: $what" "$@"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
    fi
}

check_system() {
    local system=$1 release=${1%%-*} architecture root version run node
    architecture=$(dpkg --print-architecture)
    [[ $system != *-* ]] || architecture=${system#*-}
    [[ -n ${suites[$release]:-} ]] || die "systems knows no Debian $release"
    root=$cache/roots/${suites[$release]}-$architecture
    [[ -d $root ]] ||
        quietly "Making a root file system of Debian $system" make_root "$release" "$architecture" "$root"

    run=$PWD/tools/systems/inside.sh
    local preset=portable
    [[ $architecture == arm64 ]] && preset=portable-arm64
    step "$system" "the demo of zefhost" inside "$architecture" "$root" "$run" demo "$PWD" "$preset"
    step "$system" "the boundary tests" \
        inside "$architecture" "$root" "$run" boundary "$PWD" "$preset"
    for version in "${node_versions[@]}"; do
        node=$(fetch_node "$version" "${architecture/amd64/x64}")
        step "$system" "the npm package with Node.js $version" \
            inside "$architecture" "$root" "$run" npm "$PWD" "$node"
    done
    step "$system" "installing and removing the Debian packages" \
        inside "$architecture" "$root" "$run" deb "$PWD" "$architecture"
    if ((release >= 13)) && ! is_foreign "$architecture"; then
        step "$system" "building the library alone, and a host from the tarball" \
            inside "$architecture" "$root" "$run" compile "$PWD" "$architecture"
    fi
}

(($#)) || set -- 11 12 13 11-arm64 12-arm64 13-arm64
unshare --mount true 2>/dev/null || {
    warn "this machine allows no mount namespaces, so that other systems cannot be entered"
    exit 77
}
need_portable
need debootstrap debian-archive-keyring
[[ $* != *-arm64* ]] || need qemu-user-static
tools/package.sh # the checks of the tree belong to the packages of the tree
for system; do
    preset=portable
    [[ $system == *-arm64 ]] && preset=portable-arm64
    compile "$preset" tst_lifecycle tst_calls tst_account tst_events tst_meeting tst_services \
        zef_minimal_host
    check_system "$system"
done
printf '%d passed, %d failed\n' "$passed" "$failed"
((failed == 0))
