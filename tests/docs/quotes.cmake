# Looks for every quote of the guide, a block fenced as cpp, cmake, json or text, in the examples and
# in headers of the kit.
cmake_minimum_required(VERSION 3.16)

file(READ ${guide} rest)
set(sources "")
foreach(name minimal/minimal.cpp minimal/minimal.json minimal/stories.txt minimal/CMakeLists.txt
        modbus-rtu/modbusrtu.cpp ../runtime/drivers/linecodes.h)
    file(READ ${examples}/${name} source)
    string(APPEND sources "${source}\n")
endforeach()
string(REGEX REPLACE "```(cpp|cmake|json|text)\n" "<quote>" rest "${rest}")

set(quotes 0)
while(TRUE)
    string(FIND "${rest}" "<quote>" begin)
    if(begin LESS 0)
        break()
    endif()
    math(EXPR begin "${begin} + 7")
    string(SUBSTRING "${rest}" ${begin} -1 rest)
    string(FIND "${rest}" "```\n" end)
    string(SUBSTRING "${rest}" 0 ${end} quote)
    string(FIND "${sources}" "${quote}" place)
    if(place LESS 0)
        message(SEND_ERROR "not in the sources:\n${quote}")
    endif()
    math(EXPR quotes "${quotes} + 1")
endwhile()

if(quotes EQUAL 0)
    message(FATAL_ERROR "the guide quotes nothing")
endif()
message("${quotes} quotes found")
