# SPDX-License-Identifier: MIT
#
# Build rules for the targets of this project: lx_target, lx_add_test, lx_add_fuzzer.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
find_package(Threads REQUIRED)

set(LX_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Werror)
set(LX_CXX_WARNINGS -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  list(APPEND LX_CXX_WARNINGS -Wthread-safety)
elseif(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  list(APPEND LX_CXX_WARNINGS -Wno-restrict) # GCC 12 warns about inlined std::string code
endif()

# COM interfaces have no virtual destructors, because these would add vtable slots.
set(LX_COM_WARNINGS -Wno-non-virtual-dtor -Wno-delete-non-virtual-dtor)

# Assertions of GCC's standard library: an out-of-range index into a container aborts the process.
if(LX_SANITIZE OR CMAKE_BUILD_TYPE STREQUAL "Debug")
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()
if(LX_SANITIZE)
  add_compile_options(-fsanitize=${LX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${LX_SANITIZE})
endif()
if(LX_BUILD_FUZZERS) # the code under test must also be instrumented, to guide the fuzzer
  add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp) # trace-cmp costs a third of the time
  add_link_options(-fsanitize=fuzzer-no-link)
endif()
if(WIN32)
  set(LX_ARCHITECTURE amd64) # the name in manifests
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(LX_ARCHITECTURE x86)
    add_link_options(-Wl,--enable-stdcall-fixup) # resolves the plain names of the .def files' exports
  endif()
  add_compile_definitions(UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601)
  add_link_options(-static) # each DLL contains its own runtime
  # Reproducible builds: a commit gives the same binaries wherever and whenever it is built.
  add_link_options(-Wl,--no-insert-timestamp)
  file(RELATIVE_PATH relative ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR}) # compiler caches may pass relative paths
  string(REGEX REPLACE "/$" "" relative "${relative}")
  foreach(folder ${relative}=. ${PROJECT_SOURCE_DIR}=. ${PROJECT_BINARY_DIR}=./build)
    add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${folder}>")
  endforeach()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # Debug information for PDB files. It contains the command lines of compiler and linker; lx_relative_paths keeps
    # absolute paths out of them.
    add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-gcodeview> $<$<COMPILE_LANGUAGE:C,CXX>:-ffile-compilation-dir=.>)
  endif()
endif()

# lx_relative_paths(DIRECTORY) | lx_relative_paths(TARGET name): compiler and linker get relative paths, so that builds
# in different folders give identical DLLs. Not for programs that are compiled with paths as macros.
macro(lx_relative_paths kind)
  if(WIN32 AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    foreach(step COMPILE LINK)
      set_property(${kind} ${ARGN} PROPERTY RULE_LAUNCH_${step} ${relative}/cmake/relative-paths.sh)
    endforeach()
    # Unity builds are off, because their generated sources include the parts by absolute paths.
    if("${kind}" STREQUAL "TARGET")
      set_property(TARGET ${ARGN} PROPERTY UNITY_BUILD OFF)
    else()
      set(CMAKE_UNITY_BUILD OFF)
    endif()
  endif()
endmacro()

# Applies the project's compile rules to a target.
function(lx_target name)
  target_compile_options(${name} PRIVATE ${LX_WARNINGS}
    $<$<COMPILE_LANGUAGE:CXX>:${LX_CXX_WARNINGS} ${LX_COM_WARNINGS}>)
  if(WIN32)
    set_target_properties(${name} PROPERTIES PREFIX "")
  endif()
endfunction()

# Header libraries from the system's include folder, for tools, server and tests only. A cross compiler must not see
# that folder, so each library gets a folder of its own with a link to it.
function(lx_header_library target folder)
  add_library(${target} INTERFACE)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers)
  if(NOT EXISTS ${CMAKE_BINARY_DIR}/headers/${folder})
    file(CREATE_LINK /usr/include/${folder} ${CMAKE_BINARY_DIR}/headers/${folder} SYMBOLIC)
  endif()
  target_include_directories(${target} SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/headers)
endfunction()
lx_header_library(lxjson nlohmann)
lx_header_library(lxcli CLI)

if(LX_BUILD_TESTS)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()

# For folders other than the component's. Their programs mostly wait for calls, so build time matters more than speed.
# Headers (CLI11, JSON, the standard library) dominate the build time; unity builds parse them once for several sources.
# lx_compile_fast(SANITIZED): the level of optimisation with sanitizers, -O0 or -O1. With the address sanitizer, -O1 takes
# more than twice as long to compile as -O0.
macro(lx_compile_fast sanitized)
  set(CMAKE_UNITY_BUILD ON)
  set(CMAKE_UNITY_BUILD_BATCH_SIZE 12)
  if(LX_SANITIZE)
    add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:${sanitized}>)
  elseif(NOT LX_BUILD_BENCH)
    set(lx_release $<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:C,CXX>>)
    add_compile_options($<${lx_release}:-O1>)
    if(CMAKE_CXX_FLAGS_RELEASE MATCHES "-g") # the demonstrations are built without debug information
      add_compile_options($<${lx_release}:-g1>)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      add_compile_options(-Wno-array-bounds -Wno-stringop-overread) # false positives at -O1, as with -Wrestrict above
    endif()
  endif()
endmacro()

# A compiler cache cannot cache objects that use precompiled headers, and it saves more time than these do.
if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
  set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

# Adds a test program: lx_add_test(test_x SOURCES ... LIBS ... [ARGS ...]). It runs on both platforms and uses the
# runner's main, which has a watchdog and counts live objects. The target lxtests builds all test programs.
add_custom_target(lxtests)
function(lx_add_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS;ARGS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  lx_target(${name})
  add_dependencies(lxtests ${name})
  if(NOT LX_TEST_PROGRAMS)
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
  endif()
  target_link_libraries(${name} PRIVATE ${arg_LIBS} lxtestrunner)
  if(NOT "${arg_SOURCES}" MATCHES "\\.c(;|$)")
    target_precompile_headers(${name} REUSE_FROM lxtestheaders)
  endif()
  add_test(NAME ${name} COMMAND ${name} ${arg_ARGS})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()

# A test that on Windows registers components in the system, so that only one of them runs at a time. They start first,
# because together they take longest. On Linux a registration ends with its process.
function(lx_test_registers name)
  set_tests_properties(${name} PROPERTIES COST 100)
  if(WIN32)
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK registration)
  endif()
endfunction()

# Adds the objects of sources that several test programs link: lx_add_test_objects(name SOURCES ... LIBS ...).
function(lx_add_test_objects name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} OBJECT EXCLUDE_FROM_ALL ${arg_SOURCES})
  lx_target(${name})
  target_link_libraries(${name} PUBLIC ${arg_LIBS} lxtestrunner)
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_precompile_headers(${name} REUSE_FROM lxtestheaders)
  if(NOT WIN32) # the headers are precompiled with the options of programs, not of libraries
    set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_compile_options(${name} PRIVATE -fPIE)
  endif()
endfunction()

# Adds a fuzz target if LX_BUILD_FUZZERS is on: lx_add_fuzzer(fuzz_x SOURCES ... LIBS ...).
function(lx_add_fuzzer name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  if(LX_BUILD_FUZZERS)
    add_executable(${name} ${arg_SOURCES})
    lx_target(${name})
    target_link_libraries(${name} PRIVATE ${arg_LIBS})
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  endif()
endfunction()
