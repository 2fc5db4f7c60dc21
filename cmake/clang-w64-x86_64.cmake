# SPDX-License-Identifier: MIT
#
# Clang for Windows, with the headers and libraries of MinGW-w64's GCC (POSIX threads) and LLVM's linker. Unlike the GNU
# linker, LLVM's accepts the runtime libraries in any order.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(mingw x86_64-w64-mingw32)
file(GLOB runtime /usr/lib/gcc/${mingw}/*-posix)
if(NOT runtime)
  message(FATAL_ERROR "g++-mingw-w64-x86-64-posix is not installed")
endif()
list(GET runtime -1 runtime)
set(LX_RUNTIME ${runtime})

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_TARGET x86_64-w64-windows-gnu)
endforeach()
# Clang does not find GCC's folders by itself, and must not search the system's. Thread-local variables are emulated, as
# in GCC's runtime.
set(here "--start-no-unused-arguments -nostdlibinc --end-no-unused-arguments -femulated-tls")
set(CMAKE_C_FLAGS_INIT "${here} -isystem /usr/${mingw}/include")
set(CMAKE_CXX_FLAGS_INIT "${here} -isystem ${runtime}/include/c++ -isystem ${runtime}/include/c++/${mingw} \
-isystem /usr/${mingw}/include")
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld -L${runtime} -L/usr/${mingw}/lib -lpthread")
endforeach()
foreach(tool AR RANLIB OBJCOPY OBJDUMP STRIP)
  string(TOLOWER ${tool} program)
  set(CMAKE_${tool} /usr/bin/${mingw}-${program} CACHE FILEPATH "")
endforeach()
set(CMAKE_RC_COMPILER ${mingw}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${mingw})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/run-wine.sh)
