# panel_add_driver(NAME SOURCES FILE... [DESCRIPTION FILE.json])
#
# Adds a driver plug-in, libNAME.so, built with the kit: runs moc, hides all symbols but the entry
# points, and looks for the kit beside the plug-in first. DESCRIPTION names the JSON file that
# PANEL_DRIVER puts into the plug-in, so that changing it rebuilds the plug-in.
function(panel_add_driver name)
    cmake_parse_arguments(PARSE_ARGV 1 driver "" "DESCRIPTION" "SOURCES")
    if(NOT driver_SOURCES OR driver_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "panel_add_driver(NAME SOURCES FILE... [DESCRIPTION FILE.json])")
    endif()
    add_library(${name} MODULE ${driver_SOURCES})
    target_link_libraries(${name} PRIVATE PanelDrivers::Kit)
    set_target_properties(${name} PROPERTIES
        CXX_STANDARD 11 # as much as a panel's compiler takes
        AUTOMOC ON
        AUTOMOC_MACRO_NAMES "Q_OBJECT;Q_GADGET;PANEL_DRIVER"
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        BUILD_RPATH "\$ORIGIN"
        INSTALL_RPATH "\$ORIGIN")
    if(driver_DESCRIPTION)
        set_property(SOURCE ${driver_SOURCES} APPEND PROPERTY
            OBJECT_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${driver_DESCRIPTION})
        set_property(TARGET ${name} APPEND PROPERTY
            AUTOGEN_TARGET_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${driver_DESCRIPTION})
    endif()
endfunction()
