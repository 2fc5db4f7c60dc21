#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Demonstrates the configuration cache.
#   ./demo.sh          builds for Windows and registers the modules in a separate Wine prefix. Starts the sample server
#                      as a program, and an application that reads it through the cache from another process. Then
#                      shows the cache inside a server's process.
#   ./demo.sh native   the same on Linux, with application and server in one process
# Installs missing packages (Debian 12). Writes only under build/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

mode=${1:-windows}
if [ $# -gt 1 ] || { [ "$mode" != windows ] && [ "$mode" != native ]; }; then
    echo "usage: ./demo.sh [native]" >&2
    exit 2
fi
colours=never
if [ -t 1 ] && [ -z "${NO_COLOR:-}" ]; then
    colours=always
fi
mkdir -p build
log=build/demo.log

step() { printf '* %s\n' "$*"; }

# Runs a command and shows its output only if it fails.
quietly() {
    if ! "$@" >"$log" 2>&1 </dev/null; then
        tail -n 40 "$log" >&2
        printf 'demo.sh: failed: %s\n' "$*" >&2
        return 1
    fi
}

# Shows the progress of a build from ninja's output: continuously on a terminal, otherwise at each quarter.
progress() {
    local line quarter=0 built all
    while IFS= read -r line; do
        printf '%s\n' "$line" >>"$log"
        if [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]]; then
            built=${BASH_REMATCH[1]} all=${BASH_REMATCH[2]}
            if [ -t 1 ]; then
                printf '\r  %d of %d' "$built" "$all"
            elif ((4 * built / all > quarter)); then
                quarter=$((4 * built / all))
                printf '  %d of %d\n' "$built" "$all"
            fi
        fi
    done
    if [ -t 1 ]; then printf '\r\033[K'; fi
}

# build PRESET TARGET...: builds the targets, and the SQLite example if SQLite is available.
build() {
    local targets=("${@:2}") target
    step "Building the demonstration ($1) with $(nproc) jobs"
    quietly cmake --preset "$1"
    for target in lxsqlitedemo lxsqliteserver; do
        if grep -q "bin/$target" "build/$1/build.ninja"; then targets+=("$target"); fi
    done
    if ! cmake --build --preset "$1" --parallel "$(nproc)" --target "${targets[@]}" 2>&1 </dev/null | progress; then
        tail -n 40 "$log" >&2
        return 1
    fi
}

headline() { printf '\n%s\n%s\n' "$1" "${1//?/=}"; }

# over_sqlite [RUN...]: two servers over one database, which another process edits.
#   RUN   the command that runs a Windows program with a time limit; none on Linux
over_sqlite() {
    local database=build/demo-plant.db output=build/demo-sqlite.log programs=build/linux-demo/bin edit suffix=""
    local sql="UPDATE attribute SET unit = 'l/s' WHERE type = 'Pump' AND name = 'RatedFlow'"
    edit=(python3 -c 'import sqlite3, sys; d = sqlite3.connect(sys.argv[1]); d.execute(sys.argv[2]); d.commit()'
        "$database" "$sql")
    if [ $# -gt 0 ]; then
        programs=$bin suffix=.exe
        edit=("$@" 120 "$bin/lxsqliteserver.exe" --database "$database" --sql "$sql")
        set -- "$@" 120
    fi
    if [ ! -e "$programs/lxsqlitedemo$suffix" ]; then
        return # SQLite is not available
    fi
    headline "A configuration in a SQLite database: two servers, and another process that edits it"
    quietly python3 examples/sqlite_server/make_database.py models/plant.json "$database"
    rm -f "$output"
    "$@" "$programs/lxsqlitedemo$suffix" "$database" >"$output" 2>&1 </dev/null &
    for ((i = 0; i < 300; ++i)); do
        if grep -q 'Two servers' "$output" 2>/dev/null; then break; fi
        sleep 0.1
    done
    printf '    %s\n' "$sql"
    quietly "${edit[@]}"
    wait $! || true
    tr -d '\r' <"$output"
}

native() {
    cmake/setup.sh build
    build linux-demo lxdemo
    local demo=build/linux-demo/bin/lxdemo
    headline "Client mode: an application and a server in one process, on Linux"
    timeout 300 "$demo" --colours "$colours"
    headline "Server mode: the cache in the server's own process, on Linux"
    timeout 300 "$demo" --colours "$colours" --server-mode
    over_sqlite
}

on_wine() { timeout "$1" cmake/run-wine.sh "${@:2}" </dev/null; }

readonly bin=build/windows-demo/bin
readonly modules=(LXConfigFactoryCache32 LXConfigFactoryCachePS LXCfgCacheCallback LXSampleServerPS)

# about MODULE: what a module is.
about() {
    case $1 in
    LXConfigFactoryCache32) echo "the cache" ;;
    LXConfigFactoryCachePS) echo "the proxies of its interfaces" ;;
    LXCfgCacheCallback) echo "the separate callback object" ;;
    LXSampleServerPS) echo "the proxies of the sample server's control interface" ;;
    esac
}

# regsvr32 OPTIONS... MODULE
regsvr32() {
    local module="Z:$PWD/$bin/${*: -1}.dll"
    quietly on_wine 120 regsvr32 /s "${@:1:$#-1}" "${module//\//\\}"
}

end_wine() {
    local server
    for server in /usr/lib/wine/wineserver wineserver; do
        if command -v "$server" >/dev/null; then
            timeout 60 "$server" -k || true
            return
        fi
    done
}

# The pipe keeps Wine from using the terminal itself and from converting the output's encoding.
run_on_wine() {
    headline "$1"
    on_wine 600 "$bin/lxdemo.exe" --colours "$colours" "${@:2}" 2>&1 | cat
}

# Starts the sample server's program in the background and waits until it is ready for clients.
start_server() {
    local output=build/demo-server.log
    on_wine 900 "$bin/lxsampleserver.exe" --model models/plant.json >"$output" 2>&1 &
    for ((i = 0; i < 300; ++i)); do
        if grep -q ready "$output" 2>/dev/null; then
            return
        fi
        sleep 0.1
    done
    cat "$output" >&2
    echo "demo.sh: the sample server did not start" >&2
    return 1
}

windows() {
    local module
    cmake/setup.sh build windows
    build windows-demo lxdemo lxsampleserverprogram "${modules[@]}"
    export WINEPREFIX=$PWD/build/demo-wineprefix
    trap end_wine EXIT
    step "Preparing a separate Wine prefix"
    quietly on_wine 300 wineboot -i
    end_wine # calls between processes fail in the Wine session that creates the prefix, and work in the next one
    for module in "${modules[@]}"; do
        step "Registering $module.dll: $(about "$module")"
        regsvr32 "$module"
    done
    step "Registering and starting lxsampleserver.exe: the server in its own process"
    quietly on_wine 120 "$bin/lxsampleserver.exe" --register --model models/plant.json
    start_server
    run_on_wine "An application and a server in two processes, on Windows" --server LXSampleServer.Server
    run_on_wine "Server mode: the cache in the server's own process, on Windows" --server-mode
    over_sqlite on_wine
    printf '\n'
    step "Stopping the server, unregistering everything"
    quietly on_wine 120 "$bin/lxsampleserver.exe" --stop
    quietly on_wine 120 "$bin/lxsampleserver.exe" --unregister
    for module in "${modules[@]}"; do
        regsvr32 /u "$module"
    done
}

if [ "$mode" = windows ] && ! cmake/setup.sh wine; then
    step "Wine cannot be installed here: showing the same natively"
    mode=native
fi
"$mode"
