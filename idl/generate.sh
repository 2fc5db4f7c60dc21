#!/bin/sh
# SPDX-License-Identifier: MIT
# Generates the header and the identifier source from the interface definitions.
# usage: idl/generate.sh [output folder]     (default: the folder of the definitions)
set -eu
here=$(cd "$(dirname "$0")" && pwd)
out=${1:-$here}
cd "$here"
widl=${WIDL:-x86_64-w64-mingw32-widl}
imports=${WIDL_IMPORTS:-/usr/include/wine/wine/windows}
"$widl" -I"$imports" -h -H "$out/LXConfigFactoryCache.h" LXConfigFactoryCache.idl
"$widl" -I"$imports" -u -o "$out/LXConfigFactoryCache_i.c" LXConfigFactoryCache.idl
