#!/usr/bin/env bash
# tools/lint.sh [--changed]: the form of the sources and scripts, and clang-tidy's findings in them.
# With --changed only files that differ from origin/main are looked at.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/common.sh
source tools/common.sh

# tree PATTERN...: files of the tree, whether committed or not, without what git ignores.
tree() {
    git ls-files --cached --others --exclude-standard -- "$@" | sort -u | while read -r file; do
        [[ ! -f $file ]] || printf '%s\n' "$file"
    done
}

# candidates PATTERN...: those among them that are to be looked at.
candidates() {
    if [[ $scope == --changed ]]; then
        comm -12 <(tree "$@") <({
            git diff --name-only --diff-filter=d "$base"
            git ls-files --others --exclude-standard
        } | sort -u)
    else
        tree "$@"
    fi
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

# Each language has the one spelling that its tools read.
check_comments() {
    ! grep -nE '//[/ ].*(@(file|param|returns?|throws?)|\\(a|brief|returns|throws))\b' "${sources[@]}" &&
        ! grep -nE '(\*|//).*\\(param|returns?|throws?)\b' "${web[@]}"
}

check_links() { node tools/lint/links.mjs "$@"; }

# Addresses of a download would tie the tree to one registry.
check_locks() { ! grep -n '"resolved"' "$@"; }

# What is generated from the code and the description is what is committed.
check_generated() { tools/generate.sh --check; }

check_scripts() { shellcheck -x "$@"; }

check_format() { clang-format --dry-run --Werror "$@"; }

check_tidy() {
    printf '%s\0' "$@" | xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet -p build/lint \
        --extra-arg=-Wno-gnu-zero-variadic-macro-arguments 2>&1 |
        sed '/^[0-9]* warnings* generated\.$/d'
}

# Every source is compiled by some target, or clang-tidy would have to guess how.
check_compiled() {
    local file status=0
    for file; do
        grep -qF "\"file\": \"$PWD/$file\"" build/lint/compile_commands.json && continue
        printf 'no target compiles %s\n' "$file"
        status=1
    done
    return "$status"
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
mapfile -t web < <(candidates '*.js' '*.cjs' '*.mjs' '*.ts' '*.cts' '*.mts' '*.css' '*.html' '*.json')
mapfile -t documents < <(tree '*.md')
mapfile -t locks < <(tree '*package-lock.json')
mapfile -t code < <(tree '*.h' '*.cpp' '*.js' '*.cjs' '*.mjs' '*.ts' '*.cts' '*.mts' '*.css' '*.html' \
    dev .ci/run '*.sh' '*CMakeLists.txt' '*.cmake')
fetch_lint_packages
check "Checking scripts" check_scripts "${scripts[@]}"
check "Checking format" check_format "${sources[@]}"
check "Checking doc comments" check_comments "${sources[@]}" "${web[@]}"
check "Checking that includes lead down" check_floors "${sources[@]}"
check "Checking JavaScript, TypeScript, HTML and JSON" check_web "${web[@]}"
check "Checking lock files" check_locks "${locks[@]}"
check "Checking links" check_links "${documents[@]}"
share=$(node tools/lint/share.mjs "${code[@]}") || failed=1
say "$share"

build dev
check "Checking the description and what is made of it" check_generated interface/description.json
(cd node && quietly "Fetching the npm packages of node" npm ci --ignore-scripts)
configure lint -DZEF_LIBNODE="$(fetch_libnode)"
quietly "Writing what moc makes" write_moc_files
mapfile -t compiled < <(candidates '*.cpp' ':!abi') # which tools/abi.sh compiles
check "Checking that every source is compiled" check_compiled "${compiled[@]}"
check "Looking for faults with clang-tidy" check_tidy "${compiled[@]}"

((!failed)) || die "lint found something; see above"
say "Nothing found"
