# Installs a built tree and lays the example's source beside it, both anew.
file(REMOVE_RECURSE ${prefix} ${outside})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${build} --prefix ${prefix}
    COMMAND_ERROR_IS_FATAL ANY)
file(COPY ${example}/ DESTINATION ${outside}/source)
