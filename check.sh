#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks everything. Installs what is missing (Debian 12) and ends with one line "N passed, N failed".
#   ./check.sh         formatting, the project's rules, tools and packages with GCC, address and undefined-behaviour
#                      sanitizer, clang-tidy, a short fuzz run, thread sanitizer (tests with several threads), the
#                      Windows build under Wine, the same with GCC (a part of the tests), the DLLs for 32-bit clients
#   ./check.sh quick   formatting, rules and a debug build with GCC: the inner loop
#   ./check.sh LEG...  single legs: format, rules, or one that `./check.sh help` lists
# Every test case counts once; a build, a rule and a fuzz target count as one each. Warnings are errors in every
# build. All output is kept in build/check/.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")" || exit 1

readonly all_legs=(format rules linux-release linux-asan tidy fuzz linux-tsan windows-release windows-gcc windows32)
# Tests that another compiler may affect; with the DLLs, all that the leg for Windows with GCC builds.
readonly gcc_tests=(test_frame test_sync test_transfer)
# The programs whose tests have several threads, for the thread sanitizer.
readonly thread_tests=(test_activated test_component test_enum test_frame test_freshload test_freshness test_hostile
    test_relations test_serverkit test_sync test_typed test_verify)
# Programs that tests run with the address sanitizer; demonstrations and examples have their tests in the release.
readonly asan_programs=(LXConfigFactoryCache32 lxcfc lxhandserver lxminimallibrary lxfaultylibrary sqlite_library)
readonly quick_legs=(format rules linux-debug)
# The folders of src/; each uses only those before it.
readonly layers="base support sync enum transfer cache typecache relations manager frame"
readonly logs=build/check
readonly fuzz_seconds=${FUZZ_SECONDS:-20} # for each target
passed=0
failed=0
skipped=0

say() { printf '%s\n' "$*"; }

# count WHAT STATUS: one check that passed (0) or failed.
count() {
    if [ "$2" -eq 0 ]; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        say "   FAILED: $1"
    fi
}

tracked() { git -c safe.directory='*' ls-files -- "$@" | grep -vE '^idl/.*\.(h|c)$'; }

# ---- formatting and rules

leg_format() {
    local files
    mapfile -t files < <(tracked '*.h' '*.cpp' '*.c')
    [ ${#files[@]} -gt 0 ] && clang-format --dry-run -Werror "${files[@]}" >"$logs/format.log" 2>&1
    count "clang-format (see $logs/format.log; clang-format -i mends it)" $?
    say "   ${#files[@]} files"
}

# forbid RULE PATTERN FILE...: no tracked file of the patterns may contain a match.
forbid() {
    local hits
    hits=$(git -c safe.directory='*' grep -nIE "$2" -- "${@:3}")
    [ -z "$hits" ]
    count "$1" $?
    [ -z "$hits" ] || head -n 10 <<<"$hits"
}

# Prints each #include of src/ that names a header of a folder above its own. Types and relations stand side by side.
includes_upwards() {
    git -c safe.directory='*' grep -noE '^#include "[^"]+"' -- src | awk -F '[/:"]' -v folders="$layers" '
        BEGIN {
            count = split(folders, folder, " ")
            for (i = 1; i <= count; ++i) level[folder[i]] = i
            while (("git -c safe.directory=\"*\" ls-files src" | getline path) > 0) {
                parts = split(path, part, "/")
                home[part[parts]] = part[2]
            }
        }
        $(NF - 1) in home {
            from = $2; to = home[$(NF - 1)]
            if (!(from in level) || level[to] > level[from] || from == "relations" && to == "typecache") print
        }'
}

leg_rules() {
    # The words are split so that this file does not contain them.
    forbid "the project's files explain themselves" \
        '\b[Ss]pecif''ication\b|\bthe [Ss]pe''c\b|\bspec\.m''d\b|\bParts? [1-8]\.[0-9]\b' .
    forbid "exceptions are caught at the boundary, and where something is put right before they go on" \
        'catch \(\.\.\.\)' 'src/*.h' 'src/*.cpp' ':!src/support/LXError32/*' ':!src/cache/lxcfctools.*' \
        ':!src/sync/XLFCritSectionDelegator.h'
    forbid "extensions of one compiler stand in LXCompiler.h" \
        '__attribute__|__declspec|__builtin_' 'src/*' 'server/*' 'tools/*' 'include/*' 'platform/*' 'examples/*' \
        ':!src/base/LXCompiler.h'
    # The typed layer takes texts of any kind.
    forbid "wide literals are written OLESTR(...)" '(^|[^A-Za-z0-9_])L"' 'src/*' 'server/*' 'tools/*' 'include/*' \
        'examples/*' ':!include/lxconfigfactorycache/lxcfc.hpp' ':!examples/typed_*'
    local upwards
    upwards=$(includes_upwards)
    [ -z "$upwards" ]
    count "no folder of src/ includes a header of one above it" $?
    [ -z "$upwards" ] || head -n 10 <<<"$upwards"
    local without
    without=$(tracked '*.h' '*.cpp' '*.c' '*.idl' '*.sh' '*CMakeLists.txt' '*.cmake' |
        while read -r file; do head -n 2 "$file" | grep -q 'SPDX-License-Identifier: MIT' || echo "$file"; done)
    [ -z "$without" ]
    count "every source file names its licence: $without" $?
}

# ---- builds and tests

# Test programs run with sanitizers and under Wine; the release is there for its tools, headers and packages.
test_programs() { [ "$1" = linux-release ] && echo OFF || echo ON; }

# build PRESET TARGET...
build() {
    local log="$logs/$1-build.log"
    if cmake --preset "$1" -DLX_TEST_PROGRAMS="$(test_programs "$1")" >"$log" 2>&1 &&
        cmake --build --preset "$1" --parallel "$(nproc)" --target "${@:2}" -- -k 0 >>"$log" 2>&1; then
        count "build of $1" 0
    else
        count "build of $1 (see $log)" 1
        grep -E '[^/_]error|warning: |FAILED:|undefined' "$log" | head -n 20
        return 1
    fi
}

# Adds up what ctest printed with -V: the test cases of a program when it says so, else the program itself. A
# program that failed without a failed test case (it crashed, hung or leaked) counts as one failure.
sum_tests() {
    tr -d '\r' <"$1" | awk '
        /^[0-9]+: \[       OK \] / { split($0, part, ":"); ok[part[1]]++ }
        /^[0-9]+: \[  FAILED  \] .*\([0-9]+ ms\)$/ { split($0, part, ":"); bad[part[1]]++ }
        /^[0-9]+: \[  SKIPPED \] .*\([0-9]+ ms\)$/ { skipped++ }
        /^ *[0-9]+\/[0-9]+ Test +#[0-9]+: / {
            n = $0; sub(/.* Test +#/, "", n); sub(/:.*/, "", n)
            if ($0 ~ /   Passed /) passes += (n in ok) ? ok[n] : 1
            else if ($0 ~ /\*\*\*Skipped/) skipped++
            else { passes += ok[n]; failures += (n in bad) ? bad[n] : 1 }
        }
        END { print passes + 0, failures + 0, skipped + 0 }'
}

# run_tests PRESET
run_tests() {
    local log="$logs/$1-test.log" wrap=() only=() p f s
    # This Clang's thread sanitizer does not work with every address layout.
    if [ "$1" = linux-tsan ] && setarch -R true 2>/dev/null; then
        wrap=(env LX_STRESS_SECONDS=10 setarch -R)
    fi
    case $1 in
    linux-release) only=(-E '^(test_|fuzz_)') ;;
    linux-asan)
        wrap=(env ASAN_OPTIONS=detect_stack_use_after_return=1)
        # The page does not depend on the compiler, so its test runs in the releases only.
        only=(-R '^(test_|fuzz_|lxcfc_)' -E '^lxcfc_page$')
        ;;
    linux-tsan) only=(-R "^($(IFS='|' && echo "${thread_tests[*]}"))(_discarding_other|_refills)?\$") ;;
    windows-gcc) only=(-R "^($(IFS='|' && echo "${gcc_tests[*]}"))\$") ;;
    esac
    "${wrap[@]}" ctest --test-dir "build/$1" -V --timeout 300 -j "$(nproc)" "${only[@]}" >"$log" 2>&1 </dev/null
    local status=$?
    read -r p f s < <(sum_tests "$log")
    if [ $((p + f)) -eq 0 ] || { [ "$status" -ne 0 ] && [ "$f" -eq 0 ]; }; then
        f=$((f + 1)) # no test ran, or ctest itself failed
    fi
    passed=$((passed + p))
    failed=$((failed + f))
    skipped=$((skipped + s))
    say "   $p test cases passed, $f failed, $s skipped"
    if [ "$f" -gt 0 ]; then
        say "   FAILED: tests of $1 (see $log)"
        grep -E '\[  FAILED  \]|\*\*\*(Failed|Timeout|Exception)|ERROR: |WARNING: ThreadSan|SUMMARY: |runtime error|LEAK|WATCHDOG' \
            "$log" | sort -u | head -n 30
        grep -E -A 4 ': Failure' "$log" | head -n 40
        # what scripts print about their failure
        grep -E -B 10 '^[0-9]+: FAILED: ' "$log" | head -n 60
    fi
}

leg_native() {
    local targets=(all)
    case $1 in
    linux-asan) targets=(lxtests "${asan_programs[@]}") ;;
    linux-tsan) targets=("${thread_tests[@]}") ;;
    esac
    build "$1" "${targets[@]}" && run_tests "$1"
}

readonly wine_prefix=$PWD/build/check-wineprefix
end_wine() {
    local server
    for server in /usr/lib/wine/wineserver wineserver; do
        if [ -d "$wine_prefix" ] && command -v "$server" >/dev/null; then
            WINEPREFIX=$wine_prefix timeout 60 "$server" -k >/dev/null 2>&1
            return
        fi
    done
}

leg_windows() {
    local targets=(all)
    [ "$1" != windows-gcc ] || targets=(LXConfigFactoryCache32 LXConfigFactoryCachePS lxcfc "${gcc_tests[@]}")
    build "$1" "${targets[@]}" || return
    export WINEPREFIX=$wine_prefix
    trap end_wine EXIT
    timeout 300 cmake/run-wine.sh wineboot -i >"$logs/wineboot.log" 2>&1 </dev/null
    local status=$?
    count "a Wine prefix of its own (see $logs/wineboot.log)" $status
    end_wine # the session that makes a prefix does not serve calls between processes; the next one does
    # Wine's services inherit the output of what starts them; started here, they do not keep a test's output open.
    timeout 120 cmake/run-wine.sh cmd /c ver >>"$logs/wineboot.log" 2>&1 </dev/null
    [ $status -ne 0 ] || run_tests "$1"
    end_wine
}

# Builds only: a 32-bit Wine may not be available.
leg_windows32() {
    local preset=windows32-release
    build $preset LXConfigFactoryCache32 LXConfigFactoryCachePS LXCfgCacheCallback lxassembly lxidl lxdebugfiles ||
        return
    (cd build/$preset && cpack) >"$logs/$preset-package.log" 2>&1
    count "the package for 32-bit clients (see $logs/$preset-package.log)" $?
    python3 tests/package/check_32bit.py build/$preset >"$logs/$preset-test.log"
    count "the DLLs for 32-bit clients (see $logs/$preset-test.log)" $?
}

# fuzz TARGET LOGS SECONDS: its result goes to LOGS/TARGET.status.
fuzz() {
    rm -rf "${2:?}/$1" "$2/$1.status"
    mkdir -p "$2/$1"
    timeout $(($3 + 100)) "build/linux-asan/bin/$1" -max_total_time="$3" -timeout=10 -rss_limit_mb=3000 \
        -artifact_prefix="$2/$1-" "$2/$1" "fuzz/corpus/$1" >"$2/$1.log" 2>&1 </dev/null
    echo $? >"$2/$1.status"
}

# The component's sources, several together as the address sanitizer's build compiles them.
leg_tidy() {
    cmake --preset linux-asan >"$logs/tidy-configure.log" 2>&1 && python3 - <<'EOF' |
import json
for entry in json.load(open("build/linux-asan/compile_commands.json")):
    if "/src/" in entry["file"] and "/platform/" not in entry["file"]:
        print(entry["file"])
EOF
        xargs -P "$(nproc)" -n 1 clang-tidy -p build/linux-asan --quiet >"$logs/tidy.log" 2>&1
    count "clang-tidy (see $logs/tidy.log)" $?
    grep -E 'warning: |error: ' "$logs/tidy.log" | sort -u | head -n 20
}

leg_fuzz() {
    local targets=() target name
    for target in fuzz/fuzz_*.cpp; do
        name=$(basename "$target" .cpp)
        targets+=("$name")
    done
    build linux-asan "${targets[@]}" || return
    # Two at a time, one per core.
    export -f fuzz
    printf '%s\n' "${targets[@]}" | xargs -P 2 -I{} bash -c 'fuzz "$@"' _ {} "$logs" "$fuzz_seconds"
    for name in "${targets[@]}"; do
        count "$name (see $logs/$name.log)" "$(cat "$logs/$name.status")"
        say "   $name: $(grep -oE '^Done .*' "$logs/$name.log" || echo 'no result')"
        grep -aE -A2 'does not hold|ERROR: |SUMMARY: |runtime error|^Base64' "$logs/$name.log" | head -n 20
    done
}

run_leg() {
    local start=$SECONDS
    say "== $1"
    case $1 in
    format | rules | tidy | fuzz | windows32) "leg_$1" ;;
    windows-*) leg_windows "$1" ;;
    linux-*) leg_native "$1" ;;
    esac
    say "   $((SECONDS - start)) s"
}

case ${1:-all} in
all) legs=("${all_legs[@]}") ;;
quick) legs=("${quick_legs[@]}") ;;
help | -h | --help)
    say "usage: ./check.sh [quick | LEG...]"
    say "legs: ${all_legs[*]} linux-debug windows-debug"
    exit 0
    ;;
*) legs=("$@") ;;
esac
groups=(build checks)
for leg in "${legs[@]}"; do
    case $leg in
    format | rules | tidy | fuzz | linux-debug | linux-release | linux-asan | linux-tsan) ;;
    windows32) groups+=(windows) ;;
    windows-debug | windows-release | windows-gcc) groups+=(windows wine) ;;
    *)
        say "check.sh: unknown leg '$leg'" >&2
        exit 2
        ;;
    esac
done

mkdir -p "$logs"
cmake/setup.sh "${groups[@]}"
count "packages that are needed" $?
# A test of a page needs a browser; where there is none it is skipped.
case " ${legs[*]} " in
*" linux-release "*) cmake/setup.sh browser || say "   no browser can be installed" ;;
esac
for leg in "${legs[@]}"; do
    run_leg "$leg"
done
say ""
[ "$skipped" -eq 0 ] || say "$skipped skipped"
say "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
