# SPDX-License-Identifier: MIT
#
# The packages, which cpack makes in build/P: a ZIP for Windows and one with its debug information, a Debian package for
# Linux and one with its debug information.
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "${LX_COMPANY}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "In-process cache of an object database's configuration")
set(CPACK_PACKAGE_DESCRIPTION "A COM component that stands between an application and the configuration server of an
object database: it reads types, attributes, groups, editors and relations in bulk, answers from
memory, and follows the server's change notifications. With what clients and servers of it are
built with.")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_THREADS 2)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_COMPONENTS_ALL main debug)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
  set(CPACK_ARCHIVE_MAIN_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-win64)
  set(CPACK_ARCHIVE_DEBUG_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-win64-debug)
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY OFF)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_PACKAGE_NAME lxconfigfactorycache)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${LX_COMPANY} <lxconfigfactorycache@localhost>")
  set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
  endif()
  set(CPACK_STRIP_FILES OFF)
endif()
include(CPack)
