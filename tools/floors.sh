#!/usr/bin/env bash
# tools/floors.sh [FOLDER]: prints each include of src/ (or FOLDER) that leads to a higher floor, or to
# a neighbour on its own; fails when there is one.
set -euo pipefail
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/../src}"

# From the roof down; see docs/ARCHITECTURE.md.
readonly floors=(framework "meeting services log/utils" account dispatch base log json)

declare -A height
for ((floor = 0; floor < ${#floors[@]}; floor++)); do
    for folder in ${floors[floor]}; do
        height[$folder]=$((${#floors[@]} - floor))
    done
done

# folder_of FILE: the folder among those above; the longest name wins.
folder_of() {
    local folder=${1%/*}
    while [[ -z ${height[$folder]:-} && $folder == */* ]]; do
        folder=${folder%/*}
    done
    printf '%s' "$folder"
}

status=0
while IFS=: read -r file line text; do
    from=$(folder_of "$file")
    [[ -n ${height[$from]:-} ]] || {
        printf 'src/%s: its folder has no floor\n' "$file"
        status=1
        continue
    }
    to=${text#*\"}
    to=$(folder_of "${to%%\"*}")
    [[ -n ${height[$to]:-} ]] || continue # not a file of src/
    if ((height[$to] > height[$from])) || { ((height[$to] == height[$from])) && [[ $to != "$from" ]]; }; then
        printf 'src/%s:%s: %s/ is below %s/ or beside it: %s\n' "$file" "$line" "$from" "$to" "$text"
        status=1
    fi
done < <(grep -rnE --include='*.h' --include='*.cpp' '^ *# *include *"' . | sed 's|^\./||')
exit "$status"
