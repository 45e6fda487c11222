#!/usr/bin/env bash
# inspector/build.sh [--test | --arm64 | --pack | OPTION...]: builds the inspector and starts it with the mock;
# OPTIONs are those of zelectronframework-inspector. ./dev inspector calls it.
#
# --test runs its tests and writes the pictures of its README anew where ZEF_PICTURES is set; --pack
# makes its npm package in build/package. --arm64 replays the recording of the examples with the
# libraries and the Node.js of that architecture, in an emulator.
set -euo pipefail
shopt -s inherit_errexit
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/common.sh
source tools/common.sh

mode=${1:-}
mkdir -p build/log build/package
case $mode in
--pack) ;;
--arm64) node/build.sh --fill arm64 ;;
*) node/build.sh --fill ;;
esac
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
--arm64)
    need_arm64
    program=$(../node/build.sh --node 22 arm64)
    qemu-aarch64 "$program" bin/inspector.cjs replay ../examples/recording.jsonl
    ;;
--pack)
    quietly "Packing the inspector" npm pack --ignore-scripts --pack-destination ../build/package
    ;;
*)
    exec node bin/inspector.cjs "$@"
    ;;
esac
