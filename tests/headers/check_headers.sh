#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Compiles each public header by itself, as C and as C++, and the examples, with the warnings that careful users turn
# on. 77 when the compiler is not installed.
# usage: check_headers.sh SOURCE C-COMPILER C++-COMPILER [windows]
set -euo pipefail
source=$1 cc=$2 cxx=$3 platform=${4:-linux}
for compiler in "$cc" "$cxx"; do
    command -v "$compiler" >/dev/null || {
        echo "SKIPPED: $compiler is not installed"
        exit 77
    }
done
readonly warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wundef -Werror -fsyntax-only)

headers=(LXConfigFactoryCache.h LXError32.h LXProperties.h)
folders=(-I"$source/idl" -I"$source/include" -I"$source/include/lxconfigfactorycache" -I"$source/src/base")
if [ "$platform" = linux ]; then
    folders+=(-I"$source/platform/include")
    mapfile -t -O ${#headers[@]} headers < <(cd "$source/platform/include" && ls -- *.h | grep -v lxallocationgate.h) # not installed
fi

failed=0
check() {
    "$@" "${warnings[@]}" "${folders[@]}" - || failed=1
}
for header in "${headers[@]}"; do
    for standard in c11 c17; do
        check "$cc" -x c -std=$standard <<<"#include <$header>
int unused;"
    done
    for standard in c++17 c++20; do
        check "$cxx" -x c++ -std=$standard <<<"#include <$header>"
    done
    # With the macros that C programs call methods by.
    check "$cc" -x c -std=c11 -DCOBJMACROS -DCINTERFACE <<<"#include <$header>
int unused;"
done
"$cc" -std=c11 "${warnings[@]}" "${folders[@]}" "$source/idl/LXConfigFactoryCache_i.c" || failed=1
for example in "$source"/examples/*.c; do
    "$cc" -std=c11 "${warnings[@]}" "${folders[@]}" "$example" || failed=1
done
# The typed layer, by itself and in one program with the server kit.
for standard in c++17 c++20; do
    check "$cxx" -x c++ -std=$standard <<<"#include <lxcfc.hpp>"
done
check "$cxx" -x c++ -std=c++20 <<<"#include <lxserver/Connection.h>
#include <lxcfc.hpp>
using namespace lx;
using lxcfc::Cache;"
# The server kit, and what stands on it, need C++20; a part of it is about server programs, which only Windows has.
for header in "$source"/include/lxserver/*.h; do
    if [ "$platform" = windows ] || ! grep -q '#include <windows.h>\|LocalServer\|StubKeeper' "$header"; then
        check "$cxx" -x c++ -std=c++20 <<<"#include <lxserver/$(basename "$header")>"
    fi
done
# The tests of the package build all examples; some are for Windows only, or need what the package's build makes.
for example in "$source"/examples/*.cpp; do
    if grep -q '<LXSampleServer.h>' "$example" || { [ "$platform" != windows ] && grep -q 'IStream\|LocalServer' "$example"; }; then
        continue
    fi
    standard=c++17
    if grep -q '<lxserver/' "$example"; then
        standard=c++20
    fi
    "$cxx" -std=$standard "${warnings[@]}" "${folders[@]}" "$example" || failed=1
done
[ $failed -eq 0 ] && echo "the headers and the examples are clean"
exit $failed
