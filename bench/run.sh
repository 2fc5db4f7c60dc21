#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds and runs all benchmarks and prints one table with a verdict for each row. Exit status 0: all bars hold.
#   bench/run.sh            everything; updates the figures in docs/performance.*
#   bench/run.sh TEXT       the rows of bench_cache with TEXT in their titles; updates no document
# LX_BENCH_NO_INSTALL=1 installs no packages.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

readonly out=build/bench
mkdir -p "$out"

# build PRESET TARGET...
build() {
    if ! { cmake --preset "$1" && cmake --build --preset "$1" --parallel "$(nproc)" --target "${@:2}"; } \
        >"$out/$1.log" 2>&1; then
        grep -E 'error|FAILED' "$out/$1.log" | head -n 10 >&2
        echo "bench/run.sh: the build of $1 failed, see $out/$1.log" >&2
        return 1
    fi
}

end_wine() {
    local server
    for server in /usr/lib/wine/wineserver wineserver; do
        if command -v "$server" >/dev/null; then
            timeout 60 "$server" -k >/dev/null 2>&1 || true
            return
        fi
    done
}

# regsvr32 OPTIONS... MODULE
regsvr32() { timeout 120 cmake/run-wine.sh regsvr32 /s "$@" >>"$out/wineboot.log" 2>&1 </dev/null; }

# The rows under Wine. If they fail, the report counts them as misses.
run_windows() {
    build windows-bench bench_windows || return
    export WINEPREFIX=$PWD/build/bench-wineprefix
    timeout 300 cmake/run-wine.sh wineboot -i >"$out/wineboot.log" 2>&1 </dev/null || true
    end_wine # calls between processes fail in the Wine session that creates the prefix, and work in the next one
    local bin=build/windows-bench/bin module
    for module in LXConfigFactoryCache32 LXConfigFactoryCachePS LXSampleServerPS; do
        regsvr32 "${bin//\//\\}\\$module.dll"
    done
    timeout 120 cmake/run-wine.sh $bin/lxsampleserver.exe --register </dev/null
    # The output goes to a file: the server program that this starts inherits it, and a pipe would wait for the server.
    timeout 600 cmake/run-wine.sh $bin/bench_windows.exe "$out/windows.json" >"$out/windows.log" 2>&1 </dev/null ||
        cat "$out/windows.log" >&2
    end_wine
}

if [ -z "${LX_BENCH_NO_INSTALL:-}" ]; then
    cmake/setup.sh build windows wine bench
fi
build linux-bench bench_cache bench_memory
if [ $# -gt 0 ]; then
    build/linux-bench/bin/bench_cache "$out/some.json" "$1"
    exec python3 bench/report.py "$out/some.json"
fi
rm -f "$out"/*.json
build/linux-bench/bin/bench_memory "$out/memory.json"
# One process per group of rows, so that the heap that one group leaves behind does not slow down the next.
figures=()
for group in "Get" "whole type load" "notification of everything" "cost per type" "server calls" "processor time" \
    "beside a flood"; do
    figures+=("$out/cache-${group// /-}.json")
    build/linux-bench/bin/bench_cache "${figures[-1]}" "$group"
done
run_windows || true
python3 bench/report.py --all --json docs/performance.json --svg docs/performance.svg \
    --doc docs/performance.md \
    "${figures[@]}" "$out/memory.json" "$out/windows.json"
