#!/bin/sh
# SPDX-License-Identifier: MIT
# Generates the header and the identifier source again and compares them with the committed ones.
# usage: check_generated.sh FOLDER-OF-DEFINITIONS
# Exit status 77: the interface compiler is not installed.
set -eu
idl=$1
widl=${WIDL:-x86_64-w64-mingw32-widl}
if ! command -v "$widl" >/dev/null; then
    echo "SKIPPED: $widl is not installed, so the committed files were not compared"
    exit 77
fi
fresh=$(mktemp -d)
trap 'rm -rf "$fresh"' EXIT
sh "$idl/generate.sh" "$fresh"
for file in LXConfigFactoryCache.h LXConfigFactoryCache_i.c; do
    if ! diff -u "$idl/$file" "$fresh/$file"; then
        echo "$file is out of date: run idl/generate.sh and commit the result"
        exit 1
    fi
done
