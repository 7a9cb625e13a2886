# Checks of the tree and of the linked programs, run by CTest with the label "lint".

add_test(NAME lint.seam COMMAND ${seam})

# Debug and sanitizer builds have other flags and are not shipped.
if(NOT QUORVAD_SANITIZE AND CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    set(files)
    foreach(program IN LISTS QUORVAD_PROGRAMS)
        list(APPEND files $<TARGET_FILE:${program}>)
    endforeach()
    add_test(NAME lint.hardening COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-hardening ${files})
    add_test(NAME lint.manual COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-manual ${files})
    set_tests_properties(lint.hardening lint.manual PROPERTIES LABELS lint TIMEOUT 60)
endif()
set_tests_properties(lint.seam PROPERTIES LABELS lint TIMEOUT 60)
