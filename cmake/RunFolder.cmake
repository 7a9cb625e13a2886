# QUORVAD_RUN_DIR: the folder from which tests start the programs. For another architecture it holds scripts that start
# the emulator, because the emulator does not run the programs that its program starts.
set(QUORVAD_RUN_DIR ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
if(CMAKE_CROSSCOMPILING_EMULATOR)
    set(QUORVAD_RUN_DIR ${PROJECT_BINARY_DIR}/run)
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "' '" emulator)
    foreach(program IN LISTS QUORVAD_PROGRAMS)
        file(GENERATE OUTPUT ${QUORVAD_RUN_DIR}/${program}
            CONTENT "#!/bin/sh\nexec '${emulator}' '$<TARGET_FILE:${program}>' \"$@\"\n"
            FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    endforeach()
endif()
