# cpack runs this before it makes the packages: the folders have the permissions that the umask left,
# closed to other users or writable by them. file(CHMOD_RECURSE) fails at a link that leads nowhere.
execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -type d -exec chmod 755 {} +
  COMMAND_ERROR_IS_FATAL ANY)
