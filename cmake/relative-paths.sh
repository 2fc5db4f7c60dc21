#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a compiler with the source folder's path in its arguments replaced by a relative one: Clang records its whole
# command line in the debug information, from which the linker derives the identifier of a PDB file and its DLL.
# usage: RELATIVE/cmake/relative-paths.sh COMMAND...
#   RELATIVE   the source folder as seen from the build folder
set -u
relative=${0%/cmake/*}
folder=$(cd "$relative" && pwd)
exec "${@//"$folder"/"$relative"}"
