#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs every fuzz target, two at a time, and prints the results.
#   fuzz/long_run.sh SECONDS    SECONDS for all targets together
# Builds the targets. New inputs go to build/fuzz-corpus/TARGET, findings to build/fuzz-findings/, and the figures to
# build/fuzz-figures.json. Fails if there is a finding.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

case ${1:-} in
'' | *[!0-9]*)
    echo "usage: fuzz/long_run.sh SECONDS" >&2
    exit 2
    ;;
esac
readonly total=$1 bin=build/linux-asan/bin findings=build/fuzz-findings figures=build/fuzz-figures.json
targets=()
for source in fuzz/fuzz_*.cpp; do
    targets+=("$(basename "$source" .cpp)")
done
# Two run at a time, so each target has twice its share.
each=$((total * 2 / ${#targets[@]}))
[ "$each" -gt 0 ] || each=1

mkdir -p "$findings"
{ cmake --preset linux-asan && cmake --build --preset linux-asan --parallel "$(nproc)" --target "${targets[@]}"; } \
    >build/fuzz-build.log 2>&1 || {
    echo "the targets do not build: see build/fuzz-build.log" >&2
    exit 1
}

# run TARGET: fuzzes until its time is up, and restarts after each finding.
run() {
    local target=$1 end=$((SECONDS + each)) log=$findings/$1.log
    mkdir -p "build/fuzz-corpus/$target"
    : >"$log"
    while [ "$SECONDS" -lt "$end" ]; do
        timeout $((end - SECONDS + 60)) "$bin/$target" -max_total_time=$((end - SECONDS)) -timeout=20 \
            -rss_limit_mb=3000 -print_final_stats=1 -artifact_prefix="$findings/$target-" \
            "build/fuzz-corpus/$target" "fuzz/corpus/$target" >>"$log" 2>&1 </dev/null && break
        echo "FINDING" >>"$log"
    done
}

# figure LOG PATTERN: the number after the last match.
figure() { grep -oE "$2 *[0-9]+" "$1" | grep -oE '[0-9]+$' | tail -n 1; }

rm -f "$findings"/*.log
running=0
for target in "${targets[@]}"; do
    run "$target" &
    running=$((running + 1))
    if [ "$running" -ge 2 ]; then
        wait -n
        running=$((running - 1))
    fi
done
wait

found=0
separator=
printf '{\n  "seconds_per_target": %d,\n  "targets": [' "$each" >"$figures"
for target in "${targets[@]}"; do
    log=$findings/$target.log
    executions=$(grep -oE 'number_of_executed_units: *[0-9]+' "$log" | grep -oE '[0-9]+$' | awk '{ n += $1 } END { print n + 0 }')
    findings_here=$(grep -c '^FINDING' "$log")
    edges=$(figure "$log" 'cov:')
    inputs=$(find "build/fuzz-corpus/$target" "fuzz/corpus/$target" -type f | wc -l)
    rate=$((executions / each))
    found=$((found + findings_here))
    printf '%-24s %9d executions  %6d exec/s  %5d inputs  %6d edges  %d findings\n' "$target" "$executions" "$rate" \
        "$inputs" "${edges:-0}" "$findings_here"
    printf '%s\n    { "target": "%s", "executions": %d, "executions_per_second": %d, "corpus": %d, "edges": %d, "findings": %d }' \
        "$separator" "$target" "$executions" "$rate" "$inputs" "${edges:-0}" "$findings_here" >>"$figures"
    separator=,
done
printf '\n  ]\n}\n' >>"$figures"
[ "$found" -eq 0 ]
