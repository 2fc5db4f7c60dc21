# SPDX-License-Identifier: MIT
# cpack runs this after it has made the ZIP for Windows. Makes the NuGet package from it.
list(FILTER CPACK_PACKAGE_FILES INCLUDE REGEX "-win64\\.zip$")
execute_process(COMMAND ${CPACK_LX_PYTHON} ${CPACK_LX_PACKAGING}/make_nuget.py ${CPACK_PACKAGE_FILES}
  ${CPACK_LX_PACKAGING}/nuget ${CPACK_PACKAGE_VERSION}
  ${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_NAME}.${CPACK_PACKAGE_VERSION}.nupkg COMMAND_ERROR_IS_FATAL ANY)
