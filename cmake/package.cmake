# What drivers outside this tree build against: library, headers, a CMake package and a pkg-config
# file. Both packages lead to the Qt that the library was built with.
include(CMakePackageConfigHelpers)

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/PanelDrivers)

add_library(PanelDrivers::Kit ALIAS kv1000)
set_target_properties(kv1000 PROPERTIES EXPORT_NAME Kit)
target_compile_features(kv1000 INTERFACE cxx_std_11)

install(TARGETS kv1000 EXPORT PanelDrivers
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libkv1000)
install(DIRECTORY runtime/drivers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/paneldrivers
    FILES_MATCHING PATTERN *.h
    PATTERN kv1000 EXCLUDE
    PATTERN internal EXCLUDE)

install(EXPORT PanelDrivers NAMESPACE PanelDrivers:: DESTINATION ${packageDir})
configure_package_config_file(cmake/PanelDriversConfig.cmake.in PanelDriversConfig.cmake
    INSTALL_DESTINATION ${packageDir}
    NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/PanelDriversConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/PanelDriversConfig.cmake
    ${PROJECT_BINARY_DIR}/PanelDriversConfigVersion.cmake
    cmake/PanelDriver.cmake
    DESTINATION ${packageDir})

# Relative to the file itself, so that an installed tree can be moved.
file(RELATIVE_PATH prefixFromHere ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
if(QT_MAJOR EQUAL 5)
    set(qtPackages "Qt5Core Qt5Sql")
else()
    set(qtPackages "QtCore QtSql")
endif()
configure_file(cmake/paneldrivers.pc.in paneldrivers.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/paneldrivers.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
