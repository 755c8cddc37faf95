# Makes the Debian packages, unpacks them into an empty folder, and runs the bench from there.
file(REMOVE_RECURSE ${directory})
file(MAKE_DIRECTORY ${directory}/root)
execute_process(COMMAND ${cpack} --config ${build}/CPackConfig.cmake -B ${directory}
    WORKING_DIRECTORY ${build} OUTPUT_VARIABLE output ERROR_VARIABLE output
    RESULT_VARIABLE failed)
if(failed)
    message(FATAL_ERROR "${output}")
endif()

foreach(package plcctl libkv1000 paneldrivers-dev)
    file(GLOB files ${directory}/${package}_${version}_*.deb)
    list(LENGTH files count)
    if(NOT count EQUAL 1)
        message(FATAL_ERROR "not one package ${package} but ${count}\n${output}")
    endif()
    execute_process(COMMAND dpkg-deb -x ${files} ${directory}/root COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND dpkg-deb -f ${files} Depends
        OUTPUT_VARIABLE ${package} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# What a package lacks in Depends is missing only where it is installed alone.
foreach(need "plcctl:libkv1000 \\(= ${version}\\)" "plcctl:libqt5core5a" "libkv1000:libqt5sql5"
        "paneldrivers-dev:libkv1000 \\(= ${version}\\)" "paneldrivers-dev:qtbase5-dev")
    string(REGEX MATCH "^([^:]+):(.*)$" need ${need})
    if(NOT "${${CMAKE_MATCH_1}}" MATCHES "${CMAKE_MATCH_2}")
        message(FATAL_ERROR "${CMAKE_MATCH_1} does not depend on ${CMAKE_MATCH_2}")
    endif()
endforeach()

set(usr ${directory}/root/usr)
foreach(name bin/paneldriver-contract bin/paneldriver-play include/paneldrivers/drivers/tools.h
        share/man/man1/plcctl-read.1 share/bash-completion/completions/plcctl
        share/zsh/site-functions/_plcctl share/doc/plcctl/copyright)
    if(NOT EXISTS ${usr}/${name})
        message(FATAL_ERROR "no package has ${name}")
    endif()
endforeach()

# The guide can be followed where it is installed.
set(documents ${usr}/share/doc/paneldrivers-dev)
execute_process(COMMAND test -x ${documents}/examples/minimal/peer COMMAND_ERROR_IS_FATAL ANY)
foreach(document README.md docs/writing-a-driver.md)
    file(READ ${documents}/${document} text)
    get_filename_component(folder ${documents}/${document} DIRECTORY)
    string(REGEX MATCHALL "[[][^][]+[]][(][^)#: ]+[)]" links "${text}")
    if(NOT links)
        message(FATAL_ERROR "${document} links to nothing")
    endif()
    foreach(link ${links})
        string(REGEX REPLACE ".*[(](.*)[)]" "\\1" place "${link}")
        if(NOT EXISTS ${folder}/${place})
            message(SEND_ERROR "${document}: no package has ${place}")
        endif()
    endforeach()
endforeach()

execute_process(COMMAND ${usr}/bin/plcctl read DM7 --set DM7=12
    OUTPUT_VARIABLE read COMMAND_ERROR_IS_FATAL ANY)
if(NOT read STREQUAL "DM7  12\n")
    message(FATAL_ERROR "plcctl read DM7 printed: ${read}")
endif()
