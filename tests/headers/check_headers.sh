#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Compiles the public headers as C and as C++ with the warnings that careful users turn on. Exit status 77: the compiler
# is not installed.
# usage: check_headers.sh SOURCE C-COMPILER C++-COMPILER linux|windows [each] [examples]
#   each       also compiles each header by itself (for Windows, only those that Linux does not have)
#   examples   also compiles the examples. The package's tests build them with one compiler of each platform.
set -euo pipefail
source=$1 cc=$2 cxx=$3 platform=$4 extent=" ${*:5} "
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
# The server kit needs C++20. Its headers for server programs are for Windows only.
kit=() alone=()
for header in "$source"/include/lxserver/*.h; do
    name=lxserver/$(basename "$header")
    if grep -q '#include <windows.h>\|LocalServer\|StubKeeper' "$header"; then
        [ "$platform" = linux ] || { kit+=("$name") && alone+=("$name"); }
    else
        kit+=("$name")
        [ "$platform" = windows ] || alone+=("$name")
    fi
done

failed=0
check() { "$@" "${warnings[@]}" "${folders[@]}" || failed=1; }
# compile LANGUAGE STANDARD HEADER...: compiles a source that includes these headers.
compile() {
    local compiler=$cxx
    [ "$1" != c ] || compiler=$cc
    check "$compiler" -x "$1" "-std=$2" "${macros[@]}" - < <(printf '#include <%s>\n' "${@:3}" && echo "int unused;")
}

# All headers in one source.
macros=()
compile c c17 "${headers[@]}"
compile c++ c++17 "${headers[@]}" lxcfc.hpp
compile c++ c++20 "${headers[@]}" "${kit[@]}" lxcfc.hpp
check "$cxx" -x c++ -std=c++20 - <<<"#include <lxserver/Connection.h>
#include <lxcfc.hpp>
using namespace lx;
using lxcfc::Cache;"
check "$cc" -std=c11 "$source/idl/LXConfigFactoryCache_i.c"
# The static assertions on slots and records hold for 32 bits, too.
"$cc" -std=gnu2x -fsyntax-only -DWIN32_LEAN_AND_MEAN "${folders[@]}" "$source/tests/idl/slots.c" || failed=1

if [[ $extent == *" each "* ]]; then
    for header in "${headers[@]}"; do
        compile c++ c++17 "$header"
        macros=(-DCOBJMACROS -DCINTERFACE) # these define the macros with which C programs call methods
        compile c c11 "$header"
        macros=()
    done
    compile c++ c++17 lxcfc.hpp
    for header in "${alone[@]}"; do
        compile c++ c++20 "$header"
    done
fi
if [[ $extent == *" examples "* ]]; then
    check "$cc" -std=c11 "$source"/examples/*.c
    for example in "$source"/examples/*.cpp; do
        # Some examples are for Windows only, or include a header that the build generates.
        if grep -q '<LXSampleServer.h>' "$example" || { [ "$platform" != windows ] && grep -q 'IStream\|LocalServer' "$example"; }; then
            continue
        fi
        check "$cxx" "-std=$(grep -q '<lxserver/' "$example" && echo c++20 || echo c++17)" "$example"
    done
fi
[ $failed -eq 0 ] && echo "the headers are clean"
exit $failed
