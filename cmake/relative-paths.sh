#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a compiler or linker with the source folder's path in its arguments replaced by a relative one: Clang and LLD
# record their command lines in the PDB file, from whose content the identifier of that file and its DLL is derived.
# usage: RELATIVE/cmake/relative-paths.sh COMMAND...
#   RELATIVE   the source folder as seen from the build folder
set -u
relative=${0%/cmake/*}
folder=$(cd "$relative" && pwd)
exec "${@//"$folder"/"$relative"}"
