# Installs a built tree and lays the sources of the examples beside it, both anew.
file(REMOVE_RECURSE ${prefix} ${outside})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${build} --prefix ${prefix}
    COMMAND_ERROR_IS_FATAL ANY)
file(COPY ${examples}/ DESTINATION ${outside})
