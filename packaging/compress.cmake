# Debian wants manual pages and changelogs packed, without a name and a date inside: the same source gives the same bytes.
file(GLOB texts "${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/man*/*" "${CPACK_TEMPORARY_DIRECTORY}/usr/share/doc/*/changelog")
execute_process(COMMAND gzip -9n ${texts} COMMAND_ERROR_IS_FATAL ANY)
