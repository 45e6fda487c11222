#!/usr/bin/env bash
# tools/lint.sh [--changed]: the form of the sources and scripts, and clang-tidy's findings in them.
# With --changed only files that differ from origin/main are looked at.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/common.sh
source tools/common.sh

# candidates PATTERN...: files of the tree, whether committed or not, without what git ignores.
candidates() {
    if [[ $scope == --changed ]]; then
        git diff --name-only --diff-filter=d "$base" -- "$@"
        git ls-files --others --exclude-standard -- "$@"
    else
        git ls-files --cached --others --exclude-standard -- "$@"
    fi | sort -u | while read -r file; do
        [[ ! -f $file ]] || printf '%s\n' "$file"
    done
}

# keep_compiled: of the sources on standard input, those that some target compiles.
keep_compiled() {
    local file
    while read -r file; do
        ! grep -qF "\"file\": \"$PWD/$file\"" build/lint/compile_commands.json || printf '%s\n' "$file"
    done
}

# write_moc_files: clang-tidy reads what moc writes, so that has to be there.
write_moc_files() {
    local targets
    mapfile -t targets < <(ninja -C build/lint -t targets all | sed -n 's/^\([^/:]*_autogen\):.*/\1/p')
    ninja -C build/lint "${targets[@]}"
}

# Each check is called as CHECK FILE...

check_floors() {
    node tools/lint/floors.mjs --test && node tools/lint/floors.mjs
}

check_web() { tools/lint/node_modules/.bin/biome check --error-on-warnings "$@"; }

check_openrpc() { node tools/lint/openrpc.mjs "$@"; }

# What is generated from the code and the description is what is committed.
check_generated() { tools/generate.sh --check; }

check_scripts() { shellcheck -x "$@"; }

check_format() { clang-format --dry-run --Werror "$@"; }

check_tidy() {
    printf '%s\0' "$@" | xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet -p build/lint \
        --extra-arg=-Wno-gnu-zero-variadic-macro-arguments 2>&1 |
        sed '/^[0-9]* warnings* generated\.$/d'
}

# check WHAT CHECK FILE...: notes a failure and goes on, so that one run shows everything.
check() {
    local what=$1 run=$2
    shift 2
    (($#)) || return 0
    quietly "$what, $# files" "$run" "$@" || failed=1
}

scope=${1:-}
[[ -z $scope || $scope == --changed ]] || die "lint knows no option '$scope'"
base=
[[ -z $scope ]] || base=$(git merge-base origin/main HEAD) || die "there is no origin/main to compare with"
failed=0

mapfile -t scripts < <(candidates dev .ci/run '*.sh')
mapfile -t sources < <(candidates '*.h' '*.cpp')
mapfile -t web < <(candidates '*.js' '*.cjs' '*.mjs' '*.ts' '*.cts' '*.mts' '*.css')
(cd tools/lint && quietly "Fetching the npm packages of lint" npm ci --ignore-scripts)
check "Checking scripts" check_scripts "${scripts[@]}"
check "Checking format" check_format "${sources[@]}"
check "Checking that includes lead down" check_floors "${sources[@]}"
check "Checking JavaScript and TypeScript" check_web "${web[@]}"
check "Checking the OpenRPC document" check_openrpc interface/modules.json

build dev
check "Checking that generated files are fresh" check_generated interface/modules.json
(cd node && quietly "Fetching the npm packages of node" npm ci --ignore-scripts)
configure lint
quietly "Writing what moc makes" write_moc_files
mapfile -t compiled < <(candidates '*.cpp' | keep_compiled)
check "Looking for faults with clang-tidy" check_tidy "${compiled[@]}"

((!failed)) || die "lint found something; see above"
say "Nothing found"
