# quorvad_flags: the compile and link options of every target.
include(CheckCXXCompilerFlag)

add_library(quorvad_flags INTERFACE)
target_compile_features(quorvad_flags INTERFACE cxx_std_17)
target_include_directories(quorvad_flags INTERFACE ${PROJECT_SOURCE_DIR} ${QUORVAD_PLATFORM_DIR})
target_compile_options(quorvad_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual
    -Wdeprecated-copy-dtor
    $<$<BOOL:${QUORVAD_WERROR}>:-Werror>)
target_link_options(quorvad_flags INTERFACE -Wl,--as-needed)
# The standard library aborts at an index out of range.
target_compile_definitions(quorvad_flags INTERFACE _GLIBCXX_ASSERTIONS)

if(QUORVAD_SANITIZE)
    # In instrumented code GCC takes the standard library's temporaries for uninitialised; plain builds keep the warning.
    target_compile_options(quorvad_flags INTERFACE
        -fsanitize=${QUORVAD_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(quorvad_flags INTERFACE -fsanitize=${QUORVAD_SANITIZE})
else()
    target_compile_options(quorvad_flags INTERFACE -fstack-protector-strong -ffunction-sections -fdata-sections)
    # Not every architecture has these.
    foreach(flag -fstack-clash-protection -fcf-protection)
        string(MAKE_C_IDENTIFIER "QUORVAD_HAS${flag}" has)
        check_cxx_compiler_flag(${flag} ${has})
        if(${has})
            target_compile_options(quorvad_flags INTERFACE ${flag})
        endif()
    endforeach()
    # Needs optimisation. Some distributions' compilers define it by default, hence -U.
    target_compile_options(quorvad_flags INTERFACE
        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE$<SEMICOLON>-D_FORTIFY_SOURCE=2>)
    # Builds are equal whatever folder they are made in.
    foreach(folder PROJECT_SOURCE_DIR PROJECT_BINARY_DIR QUORVAD_DEPS_DIR) # the last match counts
        target_compile_options(quorvad_flags INTERFACE
            $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-ffile-prefix-map=${${folder}}=${folder}>)
    endforeach()
    target_link_options(quorvad_flags INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack,-z,text -Wl,--gc-sections)
endif()

execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/source-date
    OUTPUT_VARIABLE QUORVAD_SOURCE_DATE OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)

# A static library of this tree; sources follow, libraries after LINK.
function(quorvad_library a_name)
    cmake_parse_arguments(LIB "" "" "SOURCES;LINK" ${ARGN})
    add_library(${a_name} STATIC ${LIB_SOURCES})
    target_link_libraries(${a_name} PUBLIC quorvad_flags ${LIB_LINK})
endfunction()
