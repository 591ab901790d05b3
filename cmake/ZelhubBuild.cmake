# What all of our own targets share: warnings as errors, sanitizers, the compiler cache.

add_library(zelhub_flags INTERFACE)
target_compile_options(zelhub_flags INTERFACE
    $<$<COMPILE_LANGUAGE:C,CXX>:-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror>
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)

if(ZELHUB_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

if(ZELHUB_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(ZELHUB_TIDY)
    find_program(CLANG_TIDY NAMES clang-tidy-14 clang-tidy REQUIRED)
    # It is handed g++'s own warning options as well, some of which it does not know.
    set(CMAKE_CXX_CLANG_TIDY ${CLANG_TIDY} --quiet --extra-arg=-Wno-unknown-warning-option)
endif()

# The cache must be told that a precompiled header counts by its content.
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(ccache_launcher ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros
        ${CCACHE_PROGRAM})
    set(CMAKE_C_COMPILER_LAUNCHER ${ccache_launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${ccache_launcher})
endif()

# The presets that are rebuilt whole join sources (CMAKE_UNITY_BUILD). Those named here keep a
# translation unit of their own: their file-local names stand elsewhere as well.
function(zelhub_not_joined)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
