# Debian packages, made by `cpack -G DEB` in a build configured with VELMORA_STATIC_AND_SHARED
# (or BUILD_SHARED_LIBS): the shared library, its -dev package, and the gallery.
set(abi ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(runtime_package libvelmoraui${abi})

set(CPACK_PACKAGE_NAME velmora)
set(CPACK_PACKAGE_VENDOR "VelmoraUI developers")
set(CPACK_PACKAGE_CONTACT "VelmoraUI developers <velmora@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Runtime Development Shared Gallery)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The library cache is refreshed by dpkg's trigger.
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/debian/triggers)
# OpenGL and EGL are opened at run time, where dpkg-shlibdeps cannot see them.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libgl1, libegl1")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "fonts-dejavu-core")
# Each package's synopsis is the project's description; these follow it.
set(about "VelmoraUI is a C++20 desktop toolkit that draws every control through
OpenGL 3.3, with real-time refracting and blurring glass surfaces.")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${about}\n\nThis package holds the shared library.")

# Headers, the CMake package, velmora.pc and the link to the shared library: one -dev package.
set(CPACK_COMPONENT_DEVELOPMENT_GROUP dev)
set(CPACK_COMPONENT_SHARED_GROUP dev)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libvelmoraui-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "${runtime_package} (= ${PROJECT_VERSION}), libsdl2-dev, libfreetype-dev, libfontconfig-dev, libpng-dev")
set(CPACK_DEBIAN_DEV_DESCRIPTION
    "${about}\n\nThis package holds the headers, the CMake package and the pkg-config file.")

set(CPACK_DEBIAN_GALLERY_PACKAGE_NAME velmora-gallery)
set(CPACK_DEBIAN_GALLERY_PACKAGE_SECTION x11)
set(CPACK_DEBIAN_GALLERY_PACKAGE_DEPENDS "libgl1, libegl1, fonts-dejavu-core")
set(CPACK_DEBIAN_GALLERY_PACKAGE_RECOMMENDS "fonts-wqy-microhei")
set(CPACK_DEBIAN_GALLERY_DESCRIPTION "${about}\n\nvelmora-gallery shows every control of the toolkit on ten pages of glass
cards, and edits the glass material live.")

# Every package carries the copyright file and a changelog (a native package's: changelog.gz).
set(changelog ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog.gz)
configure_file(cmake/debian/changelog ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog @ONLY)
execute_process(COMMAND gzip -9nf ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog)
foreach(package ${runtime_package}:Runtime libvelmoraui-dev:Development velmora-gallery:Gallery)
    string(REPLACE ":" ";" package ${package})
    list(GET package 0 name)
    list(GET package 1 component)
    install(FILES cmake/debian/copyright ${changelog} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name}
            COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
