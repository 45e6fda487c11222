#!/usr/bin/env bash
# inspector/build.sh [--test | --pack | OPTION...]: builds the inspector and starts it with the mock;
# OPTIONs are those of zelectronframework-inspector. ./dev inspector calls it.
#
# --test runs its tests and writes the pictures of its README anew where ZEF_PICTURES is set; --pack
# makes its npm package in build/package.
set -euo pipefail
shopt -s inherit_errexit
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/common.sh
source tools/common.sh

mode=${1:-}
mkdir -p build/log build/package
[[ $mode == --pack ]] || node/build.sh --fill
cd inspector
quietly "Fetching the npm packages of the inspector" npm ci --ignore-scripts
# As an installed package would be found.
ln -sfn ../../node node_modules/zelectronframework
quietly "Building the inspector's page" node build.mjs

case $mode in
--test)
    need chromium
    log=../build/log/inspector-tests.log status=0
    say "Testing the inspector"
    mapfile -t files < <(ls test/*.test.cjs)
    node --expose-gc --test --test-reporter=tap --test-concurrency=1 "${files[@]}" \
        >"$log" 2>&1 </dev/null || status=$?
    grep -E '^# (attached|unwatched|first|the page|rows)' "$log" | sed 's|^#|   |' || true
    ((status == 0)) || cat "$log"
    printf '%d passed, %d failed\n' "$(sed -n 's/^# pass //p' "$log")" "$(sed -n 's/^# fail //p' "$log")"
    exit "$status"
    ;;
--pack)
    quietly "Packing the inspector" npm pack --ignore-scripts --pack-destination ../build/package
    ;;
*)
    exec node bin/inspector.cjs "$@"
    ;;
esac
