# quorvad_curl: the static libcurl that scripts/build-curl puts under QUORVAD_DEPS_DIR, checked for what the daemon needs.
# quorvad_cares: the c-ares beside it, or the machine's, whose channels are larger but which is updated with the machine.
option(QUORVAD_PRIVATE_CARES "Link the c-ares made by scripts/build-curl instead of the machine's" ON)
set(private NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH) # not in a sysroot either
find_library(QUORVAD_CURL_LIBRARY NAMES libcurl.a PATHS ${QUORVAD_DEPS_DIR}/curl/lib ${private})
find_path(QUORVAD_CURL_INCLUDE NAMES curl/curl.h PATHS ${QUORVAD_DEPS_DIR}/curl/include ${private})
if(NOT QUORVAD_CURL_LIBRARY OR NOT QUORVAD_CURL_INCLUDE)
    message(FATAL_ERROR "No libcurl under ${QUORVAD_DEPS_DIR}/curl. Build it with: scripts/build-curl ${QUORVAD_DEPS_DIR}/curl")
endif()
find_library(QUORVAD_CARES_LIBRARY NAMES libcares.a PATHS ${QUORVAD_DEPS_DIR}/curl/lib ${private})
if(QUORVAD_PRIVATE_CARES AND QUORVAD_CARES_LIBRARY)
    add_library(quorvad_cares STATIC IMPORTED)
    set_target_properties(quorvad_cares PROPERTIES
        IMPORTED_LOCATION ${QUORVAD_CARES_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${QUORVAD_CURL_INCLUDE})
else()
    pkg_check_modules(CARES REQUIRED IMPORTED_TARGET libcares)
    add_library(quorvad_cares INTERFACE IMPORTED)
    target_link_libraries(quorvad_cares INTERFACE PkgConfig::CARES)
endif()
add_library(quorvad_curl STATIC IMPORTED)
set_target_properties(quorvad_curl PROPERTIES
    IMPORTED_LOCATION ${QUORVAD_CURL_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${QUORVAD_CURL_INCLUDE}
    INTERFACE_LINK_LIBRARIES "quorvad_cares;OpenSSL::SSL;OpenSSL::Crypto;Threads::Threads")

# A libcurl without c-ares silently ignores the daemon's DNS options and uses the system's resolver; one that reads file://
# lets an account's URL read the router's files. Neither is noticed until it does harm, hence the check.
function(quorvad_reject_curl a_why)
    message(FATAL_ERROR "The libcurl at ${QUORVAD_CURL_LIBRARY} cannot be used: ${a_why}\n"
        "Build a suitable one with: scripts/build-curl ${QUORVAD_DEPS_DIR}/curl")
endfunction()

function(quorvad_run_curl_check)
    # The cached answer holds for this very library and check only.
    file(SHA256 ${QUORVAD_CURL_LIBRARY} library)
    file(SHA256 ${PROJECT_SOURCE_DIR}/cmake/checkcurl.cpp check)
    string(SUBSTRING "${library}" 0 12 library)
    string(SUBSTRING "${check}" 0 12 check)
    set(answer QUORVAD_CURL_ANSWER_${library}_${check})
    if(NOT DEFINED ${answer} OR NOT ${answer} EQUAL 0)
        unset(${answer} CACHE)
        unset(${answer}_BUILT CACHE)
        try_run(${answer} ${answer}_BUILT ${PROJECT_BINARY_DIR}/checkcurl ${PROJECT_SOURCE_DIR}/cmake/checkcurl.cpp
            LINK_LIBRARIES quorvad_curl COMPILE_OUTPUT_VARIABLE built RUN_OUTPUT_VARIABLE said)
        if(NOT ${answer}_BUILT)
            quorvad_reject_curl("a program that uses it does not build.\n${built}")
        elseif(NOT ${answer} EQUAL 0)
            quorvad_reject_curl("${said}")
        endif()
        message(STATUS "libcurl: ${said}")
    endif()
endfunction()

# When nothing can be run, the names in the archive must do.
function(quorvad_read_curl_symbols)
    file(STRINGS ${QUORVAD_CURL_LIBRARY} ares REGEX "ares_set_local_dev" LIMIT_COUNT 1)
    file(STRINGS ${QUORVAD_CURL_LIBRARY} https REGEX "Curl_handler_https" LIMIT_COUNT 1)
    file(STRINGS ${QUORVAD_CURL_LIBRARY} file REGEX "Curl_handler_file" LIMIT_COUNT 1)
    if(NOT ares)
        quorvad_reject_curl("it was built without c-ares, so the DNS servers of an account would not be used.")
    elseif(NOT https)
        quorvad_reject_curl("it was built without TLS.")
    elseif(file)
        quorvad_reject_curl("it reads file:// URLs.")
    endif()
endfunction()

option(QUORVAD_CURL_CHECKED "Do not check the libcurl at hand" OFF)
if(NOT QUORVAD_CURL_CHECKED)
    if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
        quorvad_read_curl_symbols()
    else()
        quorvad_run_curl_check()
    endif()
endif()
