# Breaks the description of a driver in its configured build folder: the next build has to fail with
# the place and the cause. What Qt accepts has to be accepted.
file(REMOVE_RECURSE ${directory})
file(COPY ${driver}/ DESTINATION ${directory} PATTERN build EXCLUDE)
set(json ${directory}/minimal.json)

set(devices [=["devices": [{"letters": "D"}]]=])
file(WRITE ${json} "{\"protocol\": \"a // b, ]\\\"\",\n${devices}}")
execute_process(COMMAND ${CMAKE_COMMAND} -G ${generator} -S ${directory} -B ${directory}/build
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${compiler}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)

# text  what the file has instead
# told  a pattern of what is said
function(expect_failure text told)
    file(WRITE ${json} "${text}")
    execute_process(COMMAND ${CMAKE_COMMAND} --build ${directory}/build
        RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT failed OR NOT output MATCHES "${told}")
        message(SEND_ERROR "not '${told}' for\n${text}\nbut: ${output}")
    endif()
endfunction()

expect_failure("{\"protocol\": \"minimal\"\n ${devices}}" "minimal\\.json:2:2: Missing ','")
expect_failure("{\"protocol\": \"minimal\",\n${devices},\n}" "minimal\\.json:2: JSON has no")
expect_failure("{\n\n// the devices\n${devices}}" "minimal\\.json:3: JSON has no")
expect_failure("[${devices}]" "minimal\\.json:1:[0-9]+: ")
expect_failure("[1]" "minimal\\.json:1:1: A description is")
expect_failure("{\"protocol\": \"minimal\",\n${devices}}}" "libminimal\\.so is no plug-in")
