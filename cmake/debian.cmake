# Debian packages, made by cpack in a build folder: the bench, the library with the driver, and what
# people need who write drivers. Everything that is installed belongs to one of these components;
# CMAKE_INSTALL_DEFAULT_COMPONENT_NAME says to which.
set(devPackage paneldrivers-dev)
set(version ${PROJECT_VERSION})

# Laid out as in the sources, so that links between the files hold.
install(FILES README.md LICENSE DESTINATION share/doc/${devPackage})
install(FILES bench/README.md DESTINATION share/doc/${devPackage}/bench)
install(DIRECTORY docs DESTINATION share/doc/${devPackage})
install(DIRECTORY examples DESTINATION share/doc/${devPackage} USE_SOURCE_PERMISSIONS)
foreach(package plcctl libkv1000 ${devPackage})
    install(FILES LICENSE DESTINATION share/doc/${package} RENAME copyright COMPONENT ${package})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "${PROJECT_NAME}")
set(CPACK_PACKAGE_CONTACT "The panel driver kit's maintainers <maintainers@paneldrivers.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL plcctl libkv1000 ${devPackage})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_VERSION ${version})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_PLCCTL_PACKAGE_NAME plcctl)
set(CPACK_DEBIAN_PLCCTL_PACKAGE_SECTION comm)
set(CPACK_DEBIAN_PLCCTL_PACKAGE_DEPENDS "libkv1000 (= ${version})")
set(CPACK_DEBIAN_PLCCTL_PACKAGE_RECOMMENDS libqt5sql5-sqlite)
set(CPACK_COMPONENT_PLCCTL_DESCRIPTION
    "bench for the drivers of operator panels
Reads, writes and watches the devices of a PLC through a driver plug-in, over a
serial line or TCP, and simulates a controller to try it on.")

set(CPACK_DEBIAN_LIBKV1000_PACKAGE_NAME libkv1000)
set(CPACK_DEBIAN_LIBKV1000_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBKV1000_DESCRIPTION
    "KV-1000 driver plug-in and driver kit for operator panels
The plug-in lets an operator panel read and write a KV-1000 controller over its
ASCII host link. The same library has the kit that other drivers are built with.")

set(CPACK_DEBIAN_PANELDRIVERS-DEV_PACKAGE_NAME ${devPackage})
set(CPACK_DEBIAN_PANELDRIVERS-DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PANELDRIVERS-DEV_PACKAGE_DEPENDS "libkv1000 (= ${version}), qtbase5-dev")
set(CPACK_DEBIAN_PANELDRIVERS-DEV_PACKAGE_SUGGESTS "cmake, pkg-config, plcctl")
set(CPACK_COMPONENT_PANELDRIVERS-DEV_DESCRIPTION
    "kit for writing drivers of operator panels
Headers, a CMake package and a pkg-config file of the driver kit, a guide with
examples, and two programs that test a driver: paneldriver-contract checks that
a driver does what every driver must, paneldriver-play plays stories of calls
and bytes.")
include(CPack)
