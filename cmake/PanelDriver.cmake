# As a script, after a plug-in was built: ends with an error if it has no entry point.
if(CMAKE_SCRIPT_MODE_FILE AND DEFINED panel_plugin)
    file(STRINGS ${panel_plugin} entry REGEX "qt_plugin_instance" LIMIT_COUNT 1)
    if(NOT entry)
        message(FATAL_ERROR " ${panel_plugin} is no plug-in. PANEL_DRIVER is missing, or moc could "
            "not read the JSON file that it names; then moc's warning is above.")
    endif()
    return()
endif()

# Ends with an error if the file is not a JSON object. Qt refuses a few more things, such as text
# after the object: moc warns of them, and the plug-in has no entry point.
function(_panel_check_description file)
    file(READ ${file} text)
    string(JSON type ERROR_VARIABLE error TYPE "${text}")
    if(error MATCHES "Line ([0-9]+), Column ([0-9]+)[\n ]*([^\n]*)")
        message(FATAL_ERROR " ${file}:${CMAKE_MATCH_1}:${CMAKE_MATCH_2}: ${CMAKE_MATCH_3}")
    elseif(NOT type STREQUAL "OBJECT")
        message(FATAL_ERROR " ${file}:1:1: A description is a JSON object: {...}")
    endif()
    # CMake lets these pass; Qt does not.
    string(REGEX REPLACE "\"[^\"\\]*(\\\\.[^\"\\]*)*\"" "\"\"" text "${text}")
    if(text MATCHES "^(.*)(,[ \t\r\n]*[]}]|/[/*])")
        string(REGEX MATCHALL "\n" lines "\n${CMAKE_MATCH_1}")
        list(LENGTH lines line)
        message(FATAL_ERROR " ${file}:${line}: JSON has no comments and no comma after the last item")
    endif()
endfunction()

# panel_add_driver(NAME SOURCES FILE... [DESCRIPTION FILE.json])
#
# Adds a driver plug-in, libNAME.so, built with the kit: runs moc, hides all symbols but the entry
# points, and looks for the kit beside the plug-in first. DESCRIPTION names the JSON file that
# PANEL_DRIVER puts into the plug-in, so that changing it rebuilds the plug-in; an error in it is
# shown with its place, because moc would leave out the plug-in's entry point with a warning only.
# Without an entry point the build fails.
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
    add_custom_command(TARGET ${name} POST_BUILD COMMAND ${CMAKE_COMMAND}
        -D panel_plugin=$<TARGET_FILE:${name}> -P ${CMAKE_CURRENT_FUNCTION_LIST_FILE})
    if(driver_DESCRIPTION)
        get_filename_component(description ${driver_DESCRIPTION} ABSOLUTE)
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${description})
        _panel_check_description(${description})
        set_property(SOURCE ${driver_SOURCES} APPEND PROPERTY OBJECT_DEPENDS ${description})
        set_property(TARGET ${name} APPEND PROPERTY AUTOGEN_TARGET_DEPENDS ${description})
    endif()
endfunction()
