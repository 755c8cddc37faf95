# Installs a build and copies the sources of the examples next to it, into empty folders.
file(REMOVE_RECURSE ${prefix} ${outside})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${build} --prefix ${prefix}
    COMMAND_ERROR_IS_FATAL ANY)
file(COPY ${examples}/ DESTINATION ${outside})
