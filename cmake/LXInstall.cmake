# SPDX-License-Identifier: MIT
#
# Installation and packages. Included last, when all targets are defined.
#
# The component "main" has everything that users need, "debug" the debug information of Windows binaries. (CPack itself
# extracts the debug information for Debian.) Targets in the lists below that are not built are skipped.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The copyright holder, from the licence.
file(STRINGS ${PROJECT_SOURCE_DIR}/LICENSE LX_COPYRIGHT REGEX "^Copyright")
string(REGEX REPLACE "^Copyright .* [0-9]+ " "" LX_COMPANY "${LX_COPYRIGHT}")

set(LX_MODULES LXConfigFactoryCache32 LXError32 LXConfigFactoryCachePS LXCfgCacheCallback LXSampleServerPS)
set(LX_PROGRAMS lxcfc lxsampleserverprogram)
if(LX_ARCHITECTURE STREQUAL x86) # the modules that 32-bit clients load
  set(LX_MODULES LXConfigFactoryCache32 LXError32 LXConfigFactoryCachePS LXCfgCacheCallback)
  set(LX_PROGRAMS "")
endif()

set(lx_include ${CMAKE_INSTALL_INCLUDEDIR}/lxconfigfactorycache)
set(lx_data ${CMAKE_INSTALL_DATADIR}/lxconfigfactorycache)
if(WIN32)
  set(lx_documents doc)
else()
  set(lx_documents ${CMAKE_INSTALL_DATADIR}/doc/lxconfigfactorycache)
endif()

# ---- binaries

set(lx_binaries "")
foreach(target ${LX_MODULES} ${LX_PROGRAMS})
  if(TARGET ${target})
    get_target_property(type ${target} TYPE)
    if(type MATCHES "SHARED_LIBRARY|MODULE_LIBRARY|EXECUTABLE")
      list(APPEND lx_binaries ${target})
    endif()
  endif()
endforeach()

# Modules look for each other in their own folder, programs in the library folder. Both paths are relative, so that the
# package can be moved.
if(NOT WIN32)
  list(APPEND lx_binaries lxplatform)
  set_target_properties(lxplatform PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    BUILD_RPATH "$ORIGIN") # it loads the component by its file name without a path
  file(RELATIVE_PATH to_libraries /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  foreach(target ${lx_binaries})
    get_target_property(type ${target} TYPE)
    set_target_properties(${target} PROPERTIES
      INSTALL_RPATH "$ORIGIN$<$<STREQUAL:${type},EXECUTABLE>:/${to_libraries}>")
  endforeach()
endif()
install(TARGETS ${lx_binaries}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT main
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT main
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT unused EXCLUDE_FROM_ALL) # nobody links these

# Each binary's version resource.
function(lx_version_resource target description)
  if(WIN32 AND TARGET ${target})
    get_target_property(type ${target} TYPE)
    get_target_property(lx_binary ${target} OUTPUT_NAME)
    if(NOT lx_binary)
      set(lx_binary ${target})
    endif()
    set(lx_file_type VFT_DLL)
    set(lx_file ${lx_binary}.dll)
    if(type STREQUAL "EXECUTABLE")
      set(lx_file_type VFT_APP)
      set(lx_file ${lx_binary}.exe)
    endif()
    set(lx_description ${description})
    configure_file(${PROJECT_SOURCE_DIR}/packaging/version.rc.in ${CMAKE_BINARY_DIR}/package/${target}.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_BINARY_DIR}/package/${target}.rc)
  endif()
endfunction()
lx_version_resource(LXConfigFactoryCache32 "${PROJECT_DESCRIPTION}")
lx_version_resource(LXConfigFactoryCachePS "Proxies and stubs of the configuration cache's interfaces")
lx_version_resource(LXSampleServerPS "Proxies and stubs of the sample server's control interface")
lx_version_resource(LXError32 "Error information and logbook of the configuration cache")
lx_version_resource(LXCfgCacheCallback "Separate callback object of the configuration cache")
lx_version_resource(lxcfc "Shows and compares the configuration of a server")
lx_version_resource(lxsampleserverprogram "Sample configuration server")

# Debug information of Windows binaries is in separate files that the binaries refer to. With Clang all of it is in the
# PDB files. With GCC it is in FILE.debug, for GDB; the PDB files, which the linker writes, have only function names.
if(WIN32)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  set(folder ${CMAKE_BINARY_DIR}/debugfiles)
  file(MAKE_DIRECTORY ${folder} ${CMAKE_BINARY_DIR}/maps)
  set(debug_files "")
  foreach(target ${lx_binaries})
    set(name $<TARGET_FILE_NAME:${target}>)
    # The linker records its command line in the PDB file. Paths relative to the build folder, where it runs, keep that
    # reproducible.
    target_link_options(${target} PRIVATE -Wl,--pdb=debugfiles/${name}.pdb -Wl,-Map,maps/${name}.map)
    set(files ${folder}/${name}.pdb)
    set(link "")
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
      target_link_options(${target} PRIVATE -Wl,-Xlink=-pdbaltpath:${name}.pdb -Wl,-Xlink=-pdbsourcepath:/build)
    else()
      set(file ${folder}/${name}.debug)
      add_custom_command(OUTPUT ${folder}/${target}.stamp
        COMMAND ${CMAKE_OBJCOPY} --preserve-dates --only-keep-debug $<TARGET_FILE:${target}> ${file}
        COMMAND ${CMAKE_COMMAND} -E touch ${folder}/${target}.stamp
        DEPENDS ${target} VERBATIM)
      list(APPEND debug_files ${folder}/${target}.stamp)
      list(APPEND files ${file})
      set(link "\"--add-gnu-debuglink=${file}\"")
    endif()
    set(installed "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/${name}")
    install(CODE "execute_process(COMMAND \"${CMAKE_OBJCOPY}\" --preserve-dates --strip-all ${link} \"${installed}\"
      COMMAND_ERROR_IS_FATAL ANY)" COMPONENT main)
    install(FILES ${files} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT debug EXCLUDE_FROM_ALL)
  endforeach()
  add_custom_target(lxdebugfiles ALL DEPENDS ${debug_files})

  # The bill of materials of the installed binaries.
  set(gcc_version ${CMAKE_CXX_COMPILER_VERSION})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    string(REGEX REPLACE ".*/([0-9.]+)-posix$" "\\1.0" gcc_version "${LX_RUNTIME}")
  endif()
  set(installed "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}")
  install(CODE "execute_process(COMMAND \"${Python3_EXECUTABLE}\" \"${PROJECT_SOURCE_DIR}/packaging/make_sbom.py\"
    ${PROJECT_VERSION} ${gcc_version} \"${installed}/${CMAKE_INSTALL_BINDIR}\" \"${CMAKE_BINARY_DIR}\"
    \"${installed}/licenses\" \"${installed}/sbom.cdx.json\" COMMAND_ERROR_IS_FATAL ANY)" COMPONENT main)
endif()

# ---- for building clients and servers

install(FILES ${PROJECT_SOURCE_DIR}/idl/LXConfigFactoryCache.h ${PROJECT_SOURCE_DIR}/idl/LXConfigFactoryCache_i.c
  ${PROJECT_SOURCE_DIR}/include/LXError32.h ${PROJECT_SOURCE_DIR}/src/base/LXCompiler.h
  ${PROJECT_SOURCE_DIR}/include/lxconfigfactorycache/LXProperties.h
  ${PROJECT_SOURCE_DIR}/include/lxconfigfactorycache/lxcfc.hpp
  DESTINATION ${lx_include} COMPONENT main)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/lxserver DESTINATION ${lx_include} COMPONENT main) # the server kit
install(TARGETS lxidl ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT main)
install(FILES ${PROJECT_SOURCE_DIR}/idl/LXConfigFactoryCache.idl DESTINATION ${lx_data} COMPONENT main)
if(WIN32)
  install(FILES $<TARGET_LINKER_FILE:LXError32> DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT main)
  if(LXSampleServerPS IN_LIST LX_MODULES)
    install(FILES ${LX_SAMPLE_SERVER_HEADERS} DESTINATION ${lx_include} COMPONENT main)
    install(FILES ${PROJECT_SOURCE_DIR}/server/program/LXSampleServer.idl DESTINATION ${lx_data} COMPONENT main)
  endif()
  install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/LXConfigFactoryCache.manifest DESTINATION ${CMAKE_INSTALL_BINDIR}
    COMPONENT main)
  install(FILES ${LX_TYPE_LIBRARY} DESTINATION ${lx_data} COMPONENT main)
  install(PROGRAMS ${PROJECT_SOURCE_DIR}/packaging/register.cmd ${PROJECT_SOURCE_DIR}/packaging/unregister.cmd
    DESTINATION . COMPONENT main)
else()
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/include/ DESTINATION ${lx_include}/platform COMPONENT main
    FILES_MATCHING PATTERN "*.h" PATTERN lxallocationgate.h EXCLUDE)
endif()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/LXConfigFactoryCacheConfig.cmake.in
  ${CMAKE_BINARY_DIR}/package/LXConfigFactoryCacheConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/LXConfigFactoryCache
  PATH_VARS lx_include lx_data CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_BINDIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/LXConfigFactoryCacheConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/package/LXConfigFactoryCacheConfig.cmake
  ${CMAKE_BINARY_DIR}/package/LXConfigFactoryCacheConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/LXConfigFactoryCache COMPONENT main)
if(NOT WIN32)
  file(RELATIVE_PATH lx_prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" lx_prefix_from_pc "${lx_prefix_from_pc}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/lxconfigfactorycache.pc.in
    ${CMAKE_BINARY_DIR}/package/lxconfigfactorycache.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/package/lxconfigfactorycache.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT main)
endif()

# ---- documents, examples, data

set(documents guide.md reference.md troubleshooting.md transfer-format.md sample-server.md lxcfc.md lxcfc-graph.png)
list(TRANSFORM documents PREPEND ${PROJECT_SOURCE_DIR}/docs/)
foreach(document ${documents} ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
  install(FILES ${document} DESTINATION ${lx_documents} COMPONENT main)
endforeach()
if(NOT WIN32)
  install(FILES ${CMAKE_BINARY_DIR}/tools/lxcfc/lxcfc.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT main)
  install(FILES ${CMAKE_BINARY_DIR}/tools/lxcfc/lxcfc.bash RENAME lxcfc
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT main)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${lx_documents} COMPONENT main)
install(FILES ${PROJECT_SOURCE_DIR}/models/plant.json ${PROJECT_SOURCE_DIR}/models/properties.json
  DESTINATION ${lx_data}/models COMPONENT main)
if(WIN32)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION . COMPONENT main)
else()
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${lx_documents} RENAME copyright COMPONENT main)
endif()

include(LXPackage)
