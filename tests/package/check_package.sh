#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Puts a package or an installation into an empty folder, builds the examples in it against it, and runs them. A Debian
# package must have the same files as an installation, so the examples are not built again for it.
# usage: check_package.sh KIND SOURCE BUILD
#   KIND   install: cmake --install; deb, zip: the package that cpack makes
#   SOURCE, BUILD   the project's folder and its build folder
# Environment: CMAKE (cmake), TOOLCHAIN (of a cross build), RUNNER (runs a program of a cross build), OBJDUMP
set -euo pipefail
kind=$1 source=$2 build=$3
cmake=${CMAKE:-cmake}
here=$(cd "$(dirname "$0")" && pwd)
objdump=${OBJDUMP:-objdump}
place=$build/package-test-$kind # the same in each run, so that a compiler cache finds the examples' objects
rm -rf "$place"
mkdir "$place"
trap 'rm -rf "$place"' EXIT
root=$place/root

fail() {
    echo "FAILED: $*" >&2
    exit 1
}
quietly() {
    "$@" >"$place/log" 2>&1 </dev/null || {
        cat "$place/log" >&2
        fail "$*"
    }
}
# has_section FILE NAME
has_section() {
    local sections
    sections=$("$objdump" -h "$1") || fail "there is no $1"
    grep -q -F "$2" <<<"$sections"
}

# make_package PATTERN: runs cpack and prints the path of the package whose name matches.
make_package() {
    (cd "$build" && quietly "$(dirname "$cmake")/cpack" -B "$place/packages")
    find "$place/packages" -maxdepth 1 -name "$1" | grep . || fail "cpack made no $1"
}

# ---- installing and unpacking

put_install() {
    quietly "$cmake" --install "$build" --prefix "$place/elsewhere"
    mv "$place/elsewhere" "$root" # an installation must work after a move
}

put_deb() {
    local package debug id
    package=$(make_package 'lxconfigfactorycache_*_amd64.deb')
    dpkg-deb -x "$package" "$place/system"
    root=$place/system/usr
    for field in Package Version Architecture Maintainer Section Priority Depends Description Installed-Size; do
        [ -n "$(dpkg-deb -f "$package" $field)" ] || fail "the package has no field $field"
    done
    [ "$(dpkg-deb -f "$package" Version)" = "$(version)" ] || fail "the package's version is not $(version)"
    grep -q 'libstdc++6' <(dpkg-deb -f "$package" Depends) || fail "the package does not depend on libstdc++6"
    debug=$(find "$place/packages" -maxdepth 1 -name 'lxconfigfactorycache-dbgsym_*_amd64.ddeb')
    if grep -q '^CMAKE_BUILD_TYPE:STRING=Release' "$build/CMakeCache.txt"; then
        [ -n "$debug" ] || fail "there is no package of debug information"
        dpkg-deb -x "$debug" "$place/debug"
        id=$(readelf -n "$root/lib/LXConfigFactoryCache32.so" | sed -n 's/.*Build ID: //p')
        has_section "$place/debug/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug" .debug_info ||
            fail "the debug information of LXConfigFactoryCache32.so is not in its package"
        ! has_section "$root/lib/LXConfigFactoryCache32.so" .debug_info ||
            fail "LXConfigFactoryCache32.so still has its debug information"
    fi
}

put_zip() {
    local package
    package=$(make_package "LXConfigFactoryCache-$(version)-win64.zip")
    mkdir "$root" "$place/debug"
    (cd "$root" && "$cmake" -E tar xf "$package")
    (cd "$place/debug" && "$cmake" -E tar xf "${package%.zip}-debug.zip")
    for binary in "$root"/bin/*.dll "$root"/bin/*.exe; do
        has_version_resource "$binary"
        has_debug_information "$(basename "$binary")"
    done
    cmp -s "$root/LICENSE" "$source/LICENSE" || fail "the licence is missing"
    python3 "$here/check_zip.py" "$root" "$place/packages/LXConfigFactoryCache.$(version).nupkg" "$(version)" \
        "$objdump" || fail "the bill of materials or the NuGet package"
}

# The package has the same files as an installation. Only the contents of modules may differ, which are stripped.
has_what_is_installed() {
    quietly "$cmake" --install "$build" --prefix "$place/installed"
    diff <(cd "$place/installed" && find . -type f | sort) <(cd "$root" && find . -type f | sort) ||
        fail "the package's files are not those of an installation"
    diff -rq --exclude='*.so*' --exclude=bin "$place/installed" "$root" || fail "files differ from those of an installation"
}

# has_debug_information BINARY: the binary names its PDB file, which has function names, and with Clang lines too.
has_debug_information() {
    local pdb=$place/debug/bin/$1.pdb publics lines
    ! has_section "$root/bin/$1" .debug_info || fail "$1 still has its debug information"
    grep -aqF "$1.pdb" "$root/bin/$1" || fail "$1 does not name its PDB file"
    publics=$(llvm-pdbutil dump -publics "$pdb") || fail "$1.pdb cannot be read"
    grep -qE '`(DllGetClassObject|LXErrorSetInfo|main|mainCRTStartup)`' <<<"$publics" || fail "$1.pdb lacks functions"
    if [ -e "$place/debug/bin/$1.debug" ]; then
        has_section "$place/debug/bin/$1.debug" .debug_info || fail "$1.debug is empty"
        has_section "$root/bin/$1" .gnu_debuglink || fail "$1 does not name $1.debug"
    else
        lines=$(llvm-pdbutil dump -l "$pdb")
        grep -qE '/(src|tools|server|proxy)/[^ ]+[.](cpp|h|c) ' <<<"$lines" || fail "$1.pdb has no lines"
    fi
}

# has_version_resource BINARY: the binary's version resource has company, copyright, file name, product and version.
has_version_resource() {
    local strings entry
    strings=$(tr -d '\0' <"$1")
    for entry in "CompanyName$(sed -n 's/^Copyright .* [0-9]\{4\} //p' "$source/LICENSE")" \
        "LegalCopyright$(grep '^Copyright' "$source/LICENSE")" "OriginalFilename$(basename "$1")" \
        "ProductNameLXConfigFactoryCache" "ProductVersion$(version)"; do
        grep -aqF "$entry" <<<"$strings" || fail "the version resource of $(basename "$1") lacks: $entry"
    done
}

version() { sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt"; }

# ---- building and running

# Builds the copy of the examples in the package, with the warnings that users turn on as errors. It must need nothing
# outside the package.
build_examples() {
    local examples launcher
    examples=$(find "$root" -name minimal_server.cpp -printf '%h')
    launcher=$(sed -n 's/^CMAKE_CXX_COMPILER_LAUNCHER:[A-Z]*=//p' "$build/CMakeCache.txt")
    CFLAGS=$flags CXXFLAGS=$flags quietly "$cmake" -S "$examples" -B "$place/build" -G Ninja -DCMAKE_PREFIX_PATH="$root" \
        ${TOOLCHAIN:+-DCMAKE_TOOLCHAIN_FILE="$TOOLCHAIN" -DCMAKE_FIND_ROOT_PATH="$root"} \
        ${SQLITE:+-DLX_SQLITE_SOURCE="$SQLITE"} ${launcher:+-DCMAKE_C_COMPILER_LAUNCHER="$launcher"} \
        ${launcher:+-DCMAKE_CXX_COMPILER_LAUNCHER="$launcher"}
    grep -q "LXConfigFactoryCache_DIR:PATH=$root/" "$place/build/CMakeCache.txt" || fail "another package was found"
    quietly "$cmake" --build "$place/build"
}
# -O1, because MinGW's linker takes twenty seconds for each program of unoptimised objects: they have 7,800 sections.
readonly flags="-O1 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wundef -Werror"

# run_examples [OPTION...]
run_examples() {
    quietly "$(dirname "$cmake")/ctest" --test-dir "$place/build" --output-on-failure --timeout 60 "$@"
    grep -q '100% tests passed' "$place/log" || fail "the examples did not run"
    echo "the examples, built with CMake, ran: $*"
}

build_with_pkg_config() {
    local package libraries
    export PKG_CONFIG_PATH=$root/lib/pkgconfig
    package=$(pkg-config --cflags lxconfigfactorycache)
    libraries=$(pkg-config --libs lxconfigfactorycache)
    [ "$(pkg-config --modversion lxconfigfactorycache)" = "$(version)" ] || fail "pkg-config's version is not $(version)"
    # shellcheck disable=SC2086
    c++ -std=c++20 -pthread -fPIC -c $flags $package "$source/examples/minimal_server.cpp" -o "$place/minimal_server.o"
    # shellcheck disable=SC2086
    c++ -std=c++20 -pthread $flags $package "$source/examples/client.cpp" "$place/minimal_server.o" $libraries \
        -Wl,-rpath,"$root/lib" -o "$place/client"
    [ "$("$place/client")" = m3/h ] || fail "the client, built with pkg-config, does not work"
    echo "the client, built with pkg-config, ran"
    # shellcheck disable=SC2086
    c++ -pthread -shared "$place/minimal_server.o" $libraries \
        -Wl,-rpath,"$(pkg-config --variable=libdir lxconfigfactorycache)" -o "$place/minimal_server.so"
    quietly "$root/bin/lxcfc" verify-server --server "$place/minimal_server.so"
    ! grep -q notify- "$place/log" || fail "the server built with pkg-config breaks or skips rules of notifications"
    quietly "$root/bin/lxcfc" doctor --server "$place/minimal_server.so"
    # shellcheck disable=SC2086
    ! c++ -std=c++17 -fsyntax-only $package "$source/examples/minimal_server.cpp" 2>"$place/log" ||
        fail "the server kit compiles as C++17"
    grep 'error' "$place/log" | head -1 | grep -q 'needs C++20' ||
        fail "the server kit's first error does not say that it needs C++20"
    echo "the server, built with pkg-config, is verified"
}

# The tools print their version, and find the component and the model in the package.
run_tools() {
    local tool=$root/bin/lxcfc
    if [ -n "${TOOLCHAIN:-}" ]; then
        [[ "$("$RUNNER" "$tool.exe" --version | tr -d '\r')" == *" $(version)" ]] || fail "lxcfc is not $(version)"
        # The server runs in its own process, so this needs every module of the package.
        quietly "$RUNNER" "$tool.exe" --server LXSampleServer.Server types --root Pump
        grep -q PumpCentrifugal "$place/log" || fail "lxcfc does not reach the server of the package"
        quietly "$RUNNER" "$root/bin/lxsampleserver.exe" --stop
    else
        [[ "$("$tool" --version)" == *" $(version)" ]] || fail "lxcfc is not $(version)"
        quietly "$tool" types --root Pump
        grep -q PumpCentrifugal "$place/log" || fail "lxcfc does not show the model of the package"
    fi
    echo "the tools ran"
}

check_paths() {
    ! grep -rIlF "$source" "$root" || fail "files contain the path of the source folder"
    [ "$kind" != zip ] || ! grep -alF "$source" "$root"/bin/*.dll || fail "DLLs contain the path of the source folder"
}

check_links() {
    python3 "$here/check_links.py" "$root" || fail "links in the documents are broken"
}

# registration SCRIPT
registration() {
    "$RUNNER" cmd /c "Z:${root//\//\\}\\$1"
}

check_path_of_modules() {
    local module
    for module in "$root"/lib/*.so; do
        ! readelf -d "$module" | grep RUNPATH | grep -qvF '[$ORIGIN]' ||
            fail "$module searches for libraries outside its folder"
    done
}

"put_$kind"
check_paths
check_links
if [ "$kind" = deb ]; then
    has_what_is_installed
    check_path_of_modules
    run_tools
elif [ -n "${TOOLCHAIN:-}" ]; then
    build_examples
    registration unregister.cmd >"$place/log" 2>&1 || true # removes what another test may have left
    # Without registration only the program whose manifest names the component's assembly finds the component.
    ! "$RUNNER" "$place/build/client.exe" >"$place/log" 2>&1 || fail "the component is registered already"
    run_examples -R without_registration
    quietly registration register.cmd
    run_examples -E without_registration
    run_tools
    quietly registration unregister.cmd
    ! "$RUNNER" "$place/build/client.exe" >"$place/log" 2>&1 || fail "unregister.cmd left the component registered"
else
    build_examples
    check_path_of_modules
    run_examples
    run_tools
    build_with_pkg_config
fi
