# The Debian packages: libzelhublib64-1 (the library), libzelhublib64-dev (headers, CMake package,
# pkg-config file) and zelhub (the tool with its manual page and completions).
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(staged ${PROJECT_BINARY_DIR}/packaging)
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime development tool)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Whoever publishes packages names a host that takes mail here and in packaging/changelog.in.
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Zelhublib64 developers <zelhublib64@localhost>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzelhublib64-${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "firmware updates of USB hub controllers, library
 Finds USB hubs, reads the version that they run, writes firmware images into
 their flash and restarts them, and does the same for the Power Delivery
 controllers behind them.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${packaging}/triggers)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzelhublib64-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libzelhublib64-${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "firmware updates of USB hub controllers, development files
 Headers of the plain C functions and of the exported C++ classes, a CMake
 package and a pkg-config file.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME zelhub)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS
    "libzelhublib64-${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "firmware updates of USB hub controllers, command-line tool
 Lists hubs, updates, reads and verifies their firmware and that of the Power
 Delivery controllers behind them, and carries a simulated bench on which
 everything can be tried without hardware.")

# The tool of a package finds the library where the system does; that of a plain install beside
# itself.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/DropRunPath.cmake)

# What policy wants beside every package's files.
find_program(GZIP_PROGRAM gzip)
if(NOT GZIP_PROGRAM)
    return()
endif()
configure_file(${packaging}/changelog.in ${staged}/changelog @ONLY)
# zipped(FILE NAME): FILE compressed without a time stamp, so that packages can be reproduced
function(zipped file name)
    execute_process(COMMAND ${GZIP_PROGRAM} -9n -c ${file} OUTPUT_FILE ${staged}/${name}
                    COMMAND_ERROR_IS_FATAL ANY)
endfunction()
zipped(${staged}/changelog changelog.gz)
zipped(${packaging}/zelhub.1 zelhub.1.gz)
foreach(component RUNTIME DEVELOPMENT TOOL)
    string(TOLOWER ${component} name)
    install(FILES ${packaging}/copyright ${staged}/changelog.gz COMPONENT ${name}
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${component}_PACKAGE_NAME})
endforeach()
install(FILES ${staged}/zelhub.1.gz COMPONENT tool DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${packaging}/zelhub.bash-completion RENAME zelhub COMPONENT tool
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)
