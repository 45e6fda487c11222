#!/usr/bin/env bash
# tools/sysroot.sh ARCHITECTURE (amd64, arm64): makes the folder of headers and libraries that the
# portable builds compile against. With --folder it only prints where that is, and fails without it.
#
# It holds the packages that tools/sysroot/ARCHITECTURE.sha256 pins: those of Debian 11, whose C and
# C++ libraries are the oldest that we run the tests with, and two of Debian 12 that only add headers
# and a static library. They are kept in the user's cache. ZEF_DEBIAN_MIRROR names where they come
# from; without it, it is the mirror that apt uses.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/common.sh
source tools/common.sh

architecture=${!#}
readonly pins=tools/sysroot/$architecture.sha256
[[ -f $pins ]] || die "there is no list of packages for '$architecture'"
version=$(cat "$pins" tools/sysroot.sh | sha256sum | cut -c 1-12)
readonly cache=${XDG_CACHE_HOME:-$HOME/.cache}/zelectronframework
readonly packages=$cache/packages root=$cache/sysroot/$architecture

fetch() {
    local hash path mirror
    mirror=$(debian_mirror)
    while read -r hash path; do
        if ! sha256sum --check --status <<<"$hash  $packages/${path##*/}" 2>/dev/null; then
            curl -fsSL --retry 3 -o "$packages/${path##*/}.part" "$mirror/$path" ||
                die "no ${path##*/} at $mirror: set ZEF_DEBIAN_MIRROR to a mirror that still has" \
                    "Debian 11, for example an archive of old releases"
            mv "$packages/${path##*/}.part" "$packages/${path##*/}"
            sha256sum --check --quiet <<<"$hash  $packages/${path##*/}" ||
                die "$mirror/$path is not the package that $pins pins"
        fi
    done <"$pins"
}

unpack() {
    local folder=$root.$$ path link target
    mkdir -p "$folder/usr/lib" "$folder/symbols"
    ln -s usr/lib "$folder/lib"
    while read -r _ path; do
        dpkg-deb --fsys-tarfile "$packages/${path##*/}" |
            tar -x -C "$folder" --keep-directory-symlink --no-same-owner
        # Which release of a library introduced a function: see tools/requirements.sh.
        dpkg-deb --ctrl-tarfile "$packages/${path##*/}" |
            tar -x -O ./symbols >"$folder/symbols/$(cut -d _ -f 1 <<<"${path##*/}")" 2>/dev/null || true
    done <"$pins"
    # Absolute links would lead out of the folder.
    while IFS= read -r link; do
        target=$(readlink "$link")
        ln -sfn "$(realpath -m --relative-to "$(dirname "$link")" "$folder$target")" "$link"
    done < <(find "$folder" -type l -lname '/*')
    # The C++ library of Debian 11 would wait with a function that glibc has since 2.30 only.
    sed -i -E '/^#define _GLIBCXX_USE_PTHREAD_(COND_CLOCKWAIT|[A-Z]+_CLOCKLOCK) /d' \
        "$folder"/usr/include/*-linux-gnu/c++/*/bits/c++config.h
    # Qt's moc has to run here: it is the one of this machine.
    for link in "$folder"/usr/lib/qt5 "$folder"/usr/lib/*-linux-gnu/qt5; do
        rm -rf "${link:?}/bin"
        mkdir -p "$link"
        ln -s /usr/lib/qt5/bin "$link/bin"
    done
    printf '%s\n' "$version" >"$folder/version"
    rm -rf "$root"
    mv -T "$folder" "$root"
}

is_there() { [[ -f $root/version && $(<"$root/version") == "$version" ]]; }

if [[ $1 == --folder ]]; then
    is_there || die "$root is missing or out of date: run 'tools/sysroot.sh $architecture'"
    printf '%s\n' "$root"
elif ! is_there; then
    need curl
    mkdir -p "$packages" "${root%/*}"
    quietly "Fetching the packages of the $architecture sysroot" fetch
    quietly "Unpacking the $architecture sysroot" unpack
fi
