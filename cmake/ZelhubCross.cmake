# What a cross build takes from the machine that builds, since nothing is installed for its target:
# the test framework from its sources, and a folder with just the header-only libraries (the
# machine's own include folder would mix in its C library).

set(ZELHUB_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "Sources of the test framework")
set(ZELHUB_HEADERS_DIR /usr/include CACHE PATH "Where the header-only libraries are found")

set(only_headers ${PROJECT_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${only_headers})
foreach(folder CLI nlohmann)
    if(EXISTS ${ZELHUB_HEADERS_DIR}/${folder})
        file(CREATE_LINK ${ZELHUB_HEADERS_DIR}/${folder} ${only_headers}/${folder} SYMBOLIC)
    endif()
endforeach()
list(APPEND CMAKE_FIND_ROOT_PATH ${only_headers})
list(APPEND CMAKE_INCLUDE_PATH ${only_headers})

# Defines GTest::gtest, GTest::gmock, GTest::gtest_main and GTest::gmock_main.
function(zelhub_build_googletest)
    if(NOT EXISTS ${ZELHUB_GOOGLETEST_DIR}/CMakeLists.txt)
        message(FATAL_ERROR "ZELHUB_GOOGLETEST_DIR: no sources in ${ZELHUB_GOOGLETEST_DIR}; "
            "install the package googletest, or configure with -DZELHUB_TESTS=OFF")
    endif()
    set(INSTALL_GTEST OFF)
    set(CMAKE_CXX_STANDARD 20)
    add_subdirectory(${ZELHUB_GOOGLETEST_DIR} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endfunction()
