#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Measures how many lines of the transfer array decoder the committed corpus covers. Fails below 95 percent.
#   fuzz/coverage.sh            the table, file by file
#   fuzz/coverage.sh --missed   also the lines that are not covered
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

readonly least=95 out=build/coverage
readonly files=(XArrayReader.cpp XArrayReader.h XCFCDataTransfer.cpp)
mkdir -p "$out"
cmake/setup.sh build checks
{ cmake --preset linux-coverage && cmake --build --preset linux-coverage --parallel "$(nproc)" --target fuzz_replay; } \
    >"$out/build.log" 2>&1 || {
    echo "fuzz_replay does not build: see $out/build.log" >&2
    exit 1
}
readonly program=build/linux-coverage/bin/fuzz_replay
LLVM_PROFILE_FILE=$PWD/$out/replay.profraw timeout 300 "$program" >"$out/replay.log" 2>&1
llvm-profdata merge -o "$out/replay.profdata" "$out/replay.profraw"
if [ "${1:-}" = --missed ]; then
    llvm-cov show "$program" -instr-profile="$out/replay.profdata" 2>/dev/null |
        awk -v files="^($(IFS='|' && echo "${files[*]}"))\$" '
            /^[^ ].*:$/ { name = $0; sub(/:$/, "", name); sub(/.*\/src\/transfer\//, "", name) }
            name ~ files && /^ +[0-9]+\| +0\|/ { print name ":" $0 }'
fi
llvm-cov export "$program" -instr-profile="$out/replay.profdata" -summary-only 2>/dev/null |
    python3 -c '
import json, sys
least, names = float(sys.argv[1]), sys.argv[2:]
covered = count = 0
for file in json.load(sys.stdin)["data"][0]["files"]:
    folder, _, name = file["filename"].rpartition("/src/transfer/")
    if name in names:
        lines = file["summary"]["lines"]
        print("%-22s %4d of %4d lines" % (name, lines["covered"], lines["count"]))
        covered += lines["covered"]
        count += lines["count"]
percent = 100 * covered / count
print("%-22s %.1f percent" % ("all", percent))
sys.exit(percent < least)' "$least" "${files[@]}"
