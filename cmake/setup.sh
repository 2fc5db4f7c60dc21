#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the missing Debian 12 packages that building and testing this project needs.
#   cmake/setup.sh GROUP...      groups: build, windows, wine, browser, checks, bench
# Prints the packages that it installs, and nothing if none is missing.
set -euo pipefail

packages_of() {
    case $1 in
    build) echo g++ cmake ninja-build python3 nlohmann-json3-dev libcli11-dev libsqlite3-dev googletest ;;
    windows) echo g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools lld libwine libwine-dev ;;
    wine) echo wine wine64 ;;
    browser) echo chromium chromium-driver npm ;;
    checks) echo git clang clang-format clang-tidy libclang-rt-14-dev llvm dpkg-dev file pkg-config unicode-data ;;
    bench) echo clang libbenchmark-dev libtbb-dev linux-perf valgrind ;;
    *)
        echo "cmake/setup.sh: unknown group '$1'" >&2
        exit 2
        ;;
    esac
}

is_installed() {
    # Any npm will do: Debian's conflicts with a Node.js from another source, which includes its own npm.
    if [ "$1" = npm ] && command -v npm >/dev/null; then return; fi
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

missing=()
for group in "$@"; do
    for package in $(packages_of "$group"); do
        is_installed "$package" || missing+=("$package")
    done
done
[ ${#missing[@]} -gt 0 ] || exit 0

if ! command -v apt-get >/dev/null; then
    echo "Missing packages, and no apt-get to install them: ${missing[*]}" >&2
    exit 1
fi
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Missing packages, which only root can install: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi

echo "Installing: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt() {
    if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 "$@" \
        >"$log" 2>&1 </dev/null; then
        tail -n 20 "$log" >&2
        return 1
    fi
}
apt update -qq
apt install -y -qq --no-install-recommends "${missing[@]}"
