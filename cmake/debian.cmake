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

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS ON)
# OpenGL and EGL are opened at run time, where dpkg-shlibdeps cannot see them.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libgl1, libegl1")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "fonts-dejavu-core")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "native C++ user-interface toolkit with a liquid-glass material
 VelmoraUI draws every control through OpenGL 3.3, with real-time refracting and blurring
 glass surfaces. This package holds the shared library.")

# Headers, the CMake package, velmora.pc and the link to the shared library: one -dev package.
set(CPACK_COMPONENT_DEVELOPMENT_GROUP dev)
set(CPACK_COMPONENT_SHARED_GROUP dev)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libvelmoraui-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "${runtime_package} (= ${PROJECT_VERSION}), libsdl2-dev, libfreetype-dev, libfontconfig-dev, libpng-dev")
set(CPACK_COMPONENT_GROUP_DEV_DESCRIPTION "native C++ user-interface toolkit (development files)
 VelmoraUI draws every control through OpenGL 3.3, with real-time refracting and blurring
 glass surfaces. This package holds the headers, the CMake package and the pkg-config file.")

set(CPACK_DEBIAN_GALLERY_PACKAGE_NAME velmora-gallery)
set(CPACK_DEBIAN_GALLERY_PACKAGE_SECTION x11)
set(CPACK_DEBIAN_GALLERY_PACKAGE_DEPENDS "libgl1, libegl1, fonts-dejavu-core")
set(CPACK_DEBIAN_GALLERY_PACKAGE_RECOMMENDS "fonts-wqy-microhei")
set(CPACK_COMPONENT_GALLERY_DESCRIPTION "demonstration of the VelmoraUI toolkit's 68 controls
 velmora-gallery shows every control of the VelmoraUI toolkit on ten pages of glass cards,
 and edits the glass material live.")

# Every package carries the copyright file and a changelog.
set(changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz)
file(READ cmake/debian/changelog text)
string(CONFIGURE "${text}" text @ONLY)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian "${text}")
execute_process(COMMAND gzip -9nf ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian)
foreach(package ${runtime_package}:Runtime libvelmoraui-dev:Development velmora-gallery:Gallery)
    string(REPLACE ":" ";" package ${package})
    list(GET package 0 name)
    list(GET package 1 component)
    install(FILES cmake/debian/copyright ${changelog} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name}
            COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
