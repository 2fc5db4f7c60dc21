# SPDX-License-Identifier: MIT
# Makes the NuGet package from the ZIP for Windows. cpack runs this after it has written the ZIP.
list(FILTER CPACK_PACKAGE_FILES INCLUDE REGEX "-win64\\.zip$")
execute_process(COMMAND ${CPACK_LX_PYTHON} ${CPACK_LX_PACKAGING}/make_nuget.py ${CPACK_PACKAGE_FILES}
  ${CPACK_LX_PACKAGING}/nuget ${CPACK_PACKAGE_VERSION}
  ${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_NAME}.${CPACK_PACKAGE_VERSION}.nupkg COMMAND_ERROR_IS_FATAL ANY)
