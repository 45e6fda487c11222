#!/usr/bin/env bash
# tools/tsan-qt.sh            builds QtCore and QtNetwork with ThreadSanitizer, once, into the cache
# tools/tsan-qt.sh --folder   names the folder that holds them
#
# Without an instrumented Qt the sanitizer sees neither Qt's locks nor what the host thread does.
# The libraries come from the source package of the very Qt that is installed, so that everything
# else is built against the ordinary headers and only the loader path differs. Exit code 77 says
# that the source package cannot be had.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/common.sh
source tools/common.sh

readonly kSkipped=77
version=$(dpkg-query -W -f '${source:Version}' "libqt5core5a:$(dpkg --print-architecture)")
readonly version
cache=${XDG_CACHE_HOME:-~/.cache}/zelectronframework
readonly cache
finished=$cache/qt-tsan-$version-gcc$(gcc -dumpversion)
readonly finished work=$finished.unfinished

# Indexes of source packages, kept apart so that the machine's own lists stay as they are.
source_apt() {
    apt-get -o Dir::Etc::SourceList="$work/apt/sources.list" -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State::Lists="$work/apt/lists" -o Dir::Cache="$work/apt/cache" \
        -o APT::Sandbox::User=root "$@"
}

fetch_source() {
    rm -rf "$work"
    mkdir -p "$work/source" "$work/apt/lists/partial" "$work/apt/cache/archives/partial"
    # shellcheck disable=SC2016 # apt fills in the fields
    apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' \
        'Created-By: Packages' 'Origin: Debian' | sort -u >"$work/apt/sources.list"
    source_apt update || return
    (cd "$work/source" && source_apt source "qtbase-opensource-src=$version") || return
    mv "$work"/source/qtbase-opensource-src-*/ "$work/qtbase"
    # Compiling less well takes half the time and shows the same races.
    sed -i 's/^\(QMAKE_CFLAGS_OPTIMIZE\(_FULL\)\? *= *\)-O[23]$/\1-O1/' \
        "$work/qtbase/mkspecs/common/gcc-base.conf"
    touch "$work/fetched"
}

# Only the two libraries are instrumented: Debian's own moc and rcc serve as they are, and what
# configure builds to look at the machine stays plain.
configure_qt() {
    mkdir -p "$work/build/bin"
    ln -sf /usr/lib/qt5/bin/moc /usr/lib/qt5/bin/rcc "$work/build/bin/"
    (cd "$work/build" && MAKEFLAGS=-j$(nproc) ../qtbase/configure \
        -opensource -confirm-license -release -prefix "$work/build" \
        -no-gui -no-widgets -no-dbus -no-openssl -no-icu -no-glib -no-feature-sql -no-feature-xml \
        -no-feature-ftp -no-feature-bearermanagement -no-feature-networkdiskcache \
        -no-feature-dnslookup -no-feature-localserver \
        -system-pcre -qt-zlib -qt-doubleconversion -nomake examples -nomake tests -nomake tools) || return
    touch "$work/configured"
}

# make_module FOLDER: one module of Qt; what an earlier run has compiled is kept.
make_module() {
    mkdir -p "$work/build/src/$1"
    (cd "$work/build/src/$1" &&
        ../../bin/qmake "../../../qtbase/src/$1" &&
        nice make -j "$(nproc)" \
            CC="gcc -fsanitize=thread" CXX="g++ -fsanitize=thread" LINK="g++ -fsanitize=thread")
}

# The folder gets its final name last: it is there whole or not at all.
keep_libraries() {
    mkdir -p "$work/lib"
    cp -a "$work"/build/lib/libQt5{Core,Network}.so.5* "$work/lib/"
    mv "$work/lib" "$finished"
    rm -rf "$work"
}

if [[ ${1:-} == --folder ]]; then
    printf '%s\n' "$finished"
    exit
fi
[[ ! -d $finished ]] || exit 0

mkdir -p "$cache"
exec 9>"$cache/qt-tsan.lock"
flock 9
[[ ! -d $finished ]] || exit 0 # another run has built it meanwhile

say "Building Qt $version for ThreadSanitizer, once; this takes 7 to 20 minutes"
if [[ ! -e $work/fetched ]] && ! quietly "Fetching Qt's source package" fetch_source; then
    warn "SKIPPED: the source package of Qt $version cannot be had, so ThreadSanitizer was not run"
    exit "$kSkipped"
fi
need libpcre2-dev
[[ -e $work/configured ]] || quietly "Configuring Qt" configure_qt
quietly "Building QtCore" make_module corelib
quietly "Building QtNetwork" make_module network
keep_libraries
say "Kept in $finished"
