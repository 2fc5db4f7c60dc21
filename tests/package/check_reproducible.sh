#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds DLLs again from a copy of the sources in another folder, and compares them with those of the build.
# usage: check_reproducible.sh SOURCE BUILD TARGET...
# This takes as long as a build without a compiler cache, so the tests compare only small DLLs. To compare all of them:
#   tests/package/check_reproducible.sh . build/windows-release LXConfigFactoryCache32 LXError32 LXCfgCacheCallback
set -euo pipefail
source=$(cd "$1" && pwd) build=$(cd "$2" && pwd)
targets=("${@:3}")
cmake=${CMAKE:-cmake}
export CCACHE_DISABLE=1 # a cache would return the same objects
# The build folder keeps its place relative to the sources: the debug information contains the compiler's command line,
# which names it.
folder=build/$(basename "$build")
copy=$(mktemp -d "${TMPDIR:-/tmp}/another folder.XXXXXX")
trap 'rm -rf "$copy"' EXIT

cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }

kind=$(cached CMAKE_BUILD_TYPE)
mkdir "$copy/tree"
(cd "$source" && git -c safe.directory='*' ls-files -z | xargs -0 cp --parents -t "$copy/tree")
"$cmake" -S "$copy/tree" -B "$copy/tree/$folder" -G Ninja -DCMAKE_BUILD_TYPE="$kind" -DLX_BUILD_TESTS=OFF \
    -DCMAKE_TOOLCHAIN_FILE="$copy/tree/cmake/$(basename "$(cached CMAKE_TOOLCHAIN_FILE)")" \
    "-DCMAKE_C_FLAGS_${kind^^}=$(cached "CMAKE_C_FLAGS_${kind^^}")" \
    "-DCMAKE_CXX_FLAGS_${kind^^}=$(cached "CMAKE_CXX_FLAGS_${kind^^}")" >"$copy/log"
"$cmake" --build "$copy/tree/$folder" --target "${targets[@]}" >>"$copy/log" || {
    tail -n 40 "$copy/log"
    exit 1
}
different=0
for target in "${targets[@]}"; do
    if cmp "$build/bin/$target.dll" "$copy/tree/$folder/bin/$target.dll"; then
        echo "$target.dll is the same"
    else
        different=1
    fi
done
exit $different
