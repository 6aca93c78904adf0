# Runs in CPack after the files of all packages are installed to a staging folder: replaces the fonts of other packages by
# links to them, compresses changelogs and manual pages, and sets all times to SOURCE_DATE_EPOCH if that is set, so that the same sources make the same packages.
set(folder ${CPACK_PACKAGING_INSTALL_PREFIX}/${CPACK_QEL_FONT_FOLDER})
set(links ${CPACK_QEL_FONT_LINKS})
while(links)
    list(POP_FRONT links resource face)
    file(RELATIVE_PATH target ${folder} ${face})
    file(GLOB copies ${CPACK_TEMPORARY_DIRECTORY}/*${folder}/${resource})
    foreach(copy IN LISTS copies)
        file(REMOVE ${copy})
        file(CREATE_LINK ${target} ${copy} SYMBOLIC)
    endforeach()
endwhile()
file(GLOB_RECURSE compressed LIST_DIRECTORIES false
    ${CPACK_TEMPORARY_DIRECTORY}/*/changelog.Debian ${CPACK_TEMPORARY_DIRECTORY}/*/changelog ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/*.[1-9])
foreach(file IN LISTS compressed)
    execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -exec touch -h -d @$ENV{SOURCE_DATE_EPOCH} {} +
                    COMMAND_ERROR_IS_FATAL ANY)
endif()
