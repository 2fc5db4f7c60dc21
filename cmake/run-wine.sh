#!/bin/sh
# SPDX-License-Identifier: MIT
# Runs a Windows program under Wine in a separate prefix.
#   WINEPREFIX   the prefix; by default build/wineprefix of this checkout
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX="${WINEPREFIX:-$root/build/wineprefix}"
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
mkdir -p "$(dirname "$WINEPREFIX")"
for wine in /usr/lib/wine/wine64 wine64 wine; do
    if command -v "$wine" >/dev/null 2>&1; then
        exec "$wine" "$@"
    fi
done
echo "Wine is not installed" >&2
exit 127
