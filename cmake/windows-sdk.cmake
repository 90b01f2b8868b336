# The Windows SDK, made by `cpack -G ZIP` in a cross build configured with
# VELMORA_STATIC_AND_SHARED and the examples: headers, the static library, the DLL with its
# import library, the CMake package, velmora-gallery.exe and the examples, and a README.
install(FILES cmake/windows/README.txt DESTINATION . COMPONENT Development EXCLUDE_FROM_ALL)

set(CPACK_PACKAGE_NAME VelmoraUI)
set(CPACK_PACKAGE_VENDOR "VelmoraUI developers")
set(CPACK_PACKAGE_FILE_NAME VelmoraUI-${PROJECT_VERSION}-windows-x64)
set(CPACK_GENERATOR ZIP)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_COMPONENTS_ALL Development Static Shared Runtime Gallery Examples)
include(CPack)
