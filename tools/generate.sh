#!/usr/bin/env bash
# tools/generate.sh [--check]: writes what is made of the code and of interface/description.json; with
# --check it only fails where a file is not fresh. The everyday build and the packages of lint have to
# be there.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

facts=$(mktemp)
trap 'rm -f "$facts"' EXIT
node tools/lint/description.mjs
build/dev/bin/zef_interface >"$facts"
node interface/generate.mjs "$facts" "$@"
node tools/lint/openrpc.mjs interface/modules.json
