#!/usr/bin/env bash
# tools/abi.sh            compares the binary interfaces with the committed baselines
# tools/abi.sh --update   writes the baselines anew, after a change that is wanted
#
# The interfaces between host and library and between the library and the closed ones: the order of
# the virtual functions and the layout of the records, for both architectures.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/common.sh
source tools/common.sh

readonly folder=build/abi

# describe COMPILER ARCHITECTURE: writes what the interfaces are now. The library it comes from holds
# debug information and no code to speak of.
describe() {
    "$1" -std=c++17 -g -fPIC -shared -nostdlib -femit-class-debug-always \
        -Iabi/qt -Iinclude -Isrc abi/interfaces.cpp -o "$folder/$2.so"
    abidw --suppressions abi/interfaces.abignore --no-corpus-path --no-comp-dir-path --no-show-locs \
        --no-elf-needed --type-id-style hash --out-file "$folder/$2.abi" "$folder/$2.so"
}

update() {
    cp "$folder/$1.abi" "abi/$1.abi"
    say "Wrote abi/$1.abi"
}

compare() {
    if ! abidiff --no-show-locs "abi/$1.abi" "$folder/$1.abi"; then
        warn "the binary interface for $1 is not that of abi/$1.abi"
        return 1
    fi
    say "The binary interface for $1 is that of abi/$1.abi"
}

main() {
    local action=compare status=0
    [[ ${1:-} != --update ]] || action=update
    need g++ g++-aarch64-linux-gnu abigail-tools
    mkdir -p "$folder"
    describe g++ x86_64
    describe aarch64-linux-gnu-g++ aarch64
    "$action" x86_64 || status=1
    "$action" aarch64 || status=1
    return "$status"
}

main "$@"
