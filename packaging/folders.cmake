# Folders are made with the builder's umask; in a package they are for everybody.
execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -type d -exec chmod 755 {} +
    COMMAND_ERROR_IS_FATAL ANY)
