#!/usr/bin/env bash
# bench/counts.sh [PRESET]: what one round of each workload costs in instructions (callgrind) and in
# allocations, with the peak of the heap. Neither depends on what else the machine does.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

folder=build/${1:-release}
out=$folder/counts
rm -rf "$out"
mkdir -p "$out"

LD_PRELOAD=$PWD/$folder/lib/libzef_alloccount.so "$folder/bin/zef_counts" >"$out/allocations"
# Threads apart: the host thread waits inside functions whose cost would be counted in every dump.
valgrind --tool=callgrind --separate-threads=yes --callgrind-out-file="$out/callgrind" "$folder/bin/zef_counts" \
    >"$out/valgrind" 2>&1

# Each workload has left a dump that carries its name and its number of rounds.
{
    sed 's/^/counted /' "$out/allocations"
    awk '/^desc: Trigger: Client Request: / { name = $5; rounds = $6 }
         /^summary:/ && name { print "counted instructions", name, $2 / rounds; name = "" }' \
        "$out"/callgrind.*-*
} | awk '$1 == "counted" {
        if (!($3 in seen)) { seen[$3] = 1; order[++n] = $3 }
        value[$2, $3] = $4
    }
    END {
        printf "%-28s %14s %12s %14s %12s\n", "one round of", "instructions", "allocations",
            "peak bytes", "answer bytes"
        for (i = 1; i <= n; i++) {
            name = order[i]
            printf "%-28s %14.0f %12.1f %14s %12s\n", name, value["instructions", name],
                value["allocations", name], value["peak", name], value["bytes", name]
        }
    }'
