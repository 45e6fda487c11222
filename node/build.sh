#!/usr/bin/env bash
# node/build.sh [--quick | --native | --fill [arm64] | --node VERSION ARCHITECTURE]: builds and tests the
# npm package; ./dev node calls it, and ./dev package packs it.
#
# With --native the other architecture is left out, and so are the other versions of Node.js. --quick is
# for every day: the release build of this machine, its Node.js, without what is tested on the packed
# package, with tools around it and in GLib's main loop. --fill only fills the package's folders from
# the release build of this machine, and for arm64 as well, so that it can be used from here. --node
# fetches that Node.js and prints where it is. The long forms of the tests run when ZEF_LONG is set.
# Versions of Node.js are kept in the cache folder of the user.
set -euo pipefail
shopt -s inherit_errexit
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/common.sh
source tools/common.sh

readonly versions=(18 20 22 24 26) foreign_version=22 tools_version=20
passed=0
failed=0

# fill PRESET: builds what the package takes from it and puts it in its folders.
fill() {
    build_shipped "$1"
    quietly "Filling the package from $1" install_node "$1" node
}

# check WHAT COMMAND...: runs Node.js on tests and adds up what they report.
check() {
    local what=$1 log status=0
    shift
    log=build/log/node-${what//[^A-Za-z0-9]/-}.log
    say "Testing with $what"
    (cd node && "$@") >"$log" 2>&1 </dev/null || status=$?
    grep -ahE "^# (slowest|callSync|[0-9.]+ s, )" "$log" | sed "s|^#|   |" || true
    grep -ahE -A 12 '^ *not ok ' "$log" || true
    passed=$((passed + $(count pass "$log")))
    failed=$((failed + $(count fail "$log") + $(count cancelled "$log")))
    if ((status)) && (($(count fail "$log") + $(count cancelled "$log") == 0)); then
        cat "$log"
        failed=$((failed + 1))
    fi
}

count() {
    sed -n "s/^# $1 \([0-9]*\)$/\1/p" "$2" | awk '{ sum += $1 } END { print sum + 0 }'
}

# What any Node.js has to pass; the rest of test/ is about the package and the example.
readonly core=(calls channels events lifecycle loading exit load cost)

core_files() { printf 'test/%s.test.cjs\n' "${core[@]}"; }

# check_node PROGRAM WHAT [FILE...]: the core when no files are named.
check_node() {
    local program=$1 what=$2 files
    shift 2
    files=("$@")
    (($#)) || mapfile -t files < <(core_files)
    check "$what" "$program" --expose-gc --test --test-reporter=tap --test-concurrency=1 "${files[@]}"
}

# Node.js 18 as a library, its main thread in GLib's default main loop as Electron's is.
check_glib() {
    configure release -DZEF_BUILD_ADDON=ON -DZEF_LIBNODE="$(fetch_libnode)"
    compile release zef_glibnode
    local host=$PWD/build/release/bin/zef_glibnode file
    for file in $(core_files) test/electron.test.cjs; do
        check "GLib's main loop ${file##*/}" "$host" --expose-gc --test-reporter=tap "$file"
    done
}

# The machine's Node.js, or a newer one where that is too old for the tools that the tests use.
own_node() {
    local version
    version=$(node --version)
    version=${version#v}
    if ((${version%%.*} < tools_version)); then
        fetch_node "$tools_version" x64
    else
        command -v node
    fi
}

# One file at a time: the test runner would start further processes, which do not run as they are.
check_foreign() {
    need qemu-user
    local program file wrapper=$PWD/build/node-arm64
    program=$(fetch_node "$foreign_version" arm64)
    printf '#!/bin/sh\nexec qemu-aarch64 "%s" "$@"\n' "$program" >"$wrapper"
    chmod +x "$wrapper"
    export ZEF_NODE=$wrapper ZEF_EMULATED=1
    for file in $(core_files); do
        check "Node.js $foreign_version on arm64 ${file##*/}" \
            "$wrapper" --expose-gc --test-reporter=tap "$file"
    done
    unset ZEF_NODE ZEF_EMULATED
}

mode=${1:-}
[[ $mode =~ ^(--quick|--native|--fill|--node)?$ ]] || die "the npm package knows no option '$mode'"
[[ -n $(command -v node) && -n $(command -v npm) ]] || need nodejs npm
mkdir -p build/log
if [[ $mode == --node ]]; then
    fetch_node "$2" "$3"
    exit
fi
[[ $mode == --fill ]] || need chromium
[[ $mode == --quick || $mode$# == --fill1 ]] || need_portable
(cd node && quietly "Fetching the npm packages" npm ci --ignore-scripts)
rm -rf node/prebuilds node/mock
case $mode$(dpkg --print-architecture) in
--quick* | --fill*) native=release other= ;;
*arm64) native=portable-arm64 other=portable ;;
*) native=portable other=portable-arm64 ;;
esac
fill "$native"
if [[ $mode == --fill ]]; then
    [[ ${2:-} != arm64 ]] || fill portable-arm64
    exit
fi
if [[ -z $mode ]]; then
    fill "$other"
fi

mapfile -t all < <(cd node && ls test/*.test.cjs)
[[ $mode != --quick ]] || mapfile -t all < <(printf '%s\n' "${all[@]}" | grep -vE '/(documents|package)\.')
program=$(own_node)
check_node "$program" "Node.js $("$program" --version)" "${all[@]}"
[[ $mode == --quick ]] || check_glib
if [[ -z $mode ]]; then
    for version in "${versions[@]}"; do
        [[ $("$program" --version) == "v$version."* ]] && continue # everything was tested with it
        check_node "$(fetch_node "$version" x64)" "Node.js $version"
    done
    check_foreign
fi
printf '%d passed, %d failed\n' "$passed" "$failed"
((failed == 0))
