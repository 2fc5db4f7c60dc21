#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Shows what the configuration cache does.
#   ./demo.sh          builds the Windows DLL, registers it with regsvr32 in a Wine prefix of its own and runs
#                      a client of it, first as an application, then as a server's process
#   ./demo.sh native   the same on Linux
# Installs what is missing (Debian 12). Everything it writes is under build/.
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

# Runs a command whose output only matters when it fails.
quietly() {
    if ! "$@" >"$log" 2>&1 </dev/null; then
        tail -n 40 "$log" >&2
        printf 'demo.sh: failed: %s\n' "$*" >&2
        return 1
    fi
}

# build PRESET TARGET...
build() {
    step "Building ($1): $(nproc) jobs, some minutes the first time"
    quietly cmake --preset "$1"
    quietly cmake --build --preset "$1" --parallel "$(nproc)" --target "${@:2}"
}

headline() { printf '\n%s\n%s\n' "$1" "${1//?/=}"; }

native() {
    cmake/setup.sh build
    build linux-release lxdemo
    local demo=build/linux-release/bin/lxdemo
    headline "Client mode, on Linux"
    timeout 300 "$demo" --colours "$colours"
    headline "Server mode, on Linux"
    timeout 300 "$demo" --colours "$colours" --server-mode
}

on_wine() { timeout "$1" cmake/run-wine.sh "${@:2}" </dev/null; }

end_wine() {
    local server
    for server in /usr/lib/wine/wineserver wineserver; do
        if command -v "$server" >/dev/null; then
            timeout 60 "$server" -k || true
            return
        fi
    done
}

# Through a pipe, so that Wine takes neither the terminal nor the encoding into its own hands.
run_on_wine() {
    headline "$1"
    on_wine 300 build/windows-release/bin/lxdemo.exe --colours "$colours" "${@:2}" 2>&1 | cat
}

windows() {
    cmake/setup.sh build windows
    build windows-release lxdemo LXConfigFactoryCache32
    export WINEPREFIX=$PWD/build/demo-wineprefix
    local module="Z:$PWD/build/windows-release/bin/LXConfigFactoryCache32.dll"
    trap end_wine EXIT
    step "Preparing a Wine prefix of its own"
    quietly on_wine 300 wineboot -i
    step "Registering LXConfigFactoryCache32.dll with regsvr32"
    quietly on_wine 120 regsvr32 /s "${module//\//\\}"
    run_on_wine "Client mode, on Windows"
    run_on_wine "Server mode, on Windows"  --server-mode
    printf '\n'
    step "Unregistering"
    quietly on_wine 120 regsvr32 /u /s "${module//\//\\}"
}

if [ "$mode" = windows ] && ! cmake/setup.sh wine; then
    step "Wine cannot be installed here: showing the same natively"
    mode=native
fi
"$mode"
