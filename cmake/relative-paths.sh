#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a compiler or linker, with the source folder's path in its arguments replaced by a relative one. Clang and LLD
# record their command lines in the PDB file, and the identifier of that file and its DLL is a hash of its content. An
# absolute path would make the DLL depend on the folder of the build.
# usage: RELATIVE/cmake/relative-paths.sh COMMAND...
#   RELATIVE   the source folder as seen from the build folder
set -u
relative=${0%/cmake/*}
folder=$(cd "$relative" && pwd)
exec "${@//"$folder"/"$relative"}"
