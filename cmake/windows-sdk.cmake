# The Windows SDK, made by `cpack -G ZIP` in a cross build configured with
# VELMORA_STATIC_AND_SHARED: the whole install (headers, the static library, the DLL with its
# import library, the CMake package, velmora-gallery.exe and the examples) and a README.
install(FILES cmake/windows/README.txt DESTINATION . COMPONENT Development)

set(CPACK_PACKAGE_NAME VelmoraUI)
set(CPACK_PACKAGE_VENDOR "VelmoraUI developers")
set(CPACK_PACKAGE_FILE_NAME VelmoraUI-${PROJECT_VERSION}-windows-x64)
set(CPACK_GENERATOR ZIP)
set(CPACK_STRIP_FILES ON)
include(CPack)
