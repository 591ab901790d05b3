# cmake --install: headers under include/zelhub with the names of their folders, the library, a
# CMake package and a pkg-config file. The tool installs itself.
include(CMakePackageConfigHelpers)

install(CODE "set(SOURCE_ROOT ${PROJECT_SOURCE_DIR}/src)
set(DESTINATION \${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_INCLUDEDIR}/zelhub)
include(${PROJECT_SOURCE_DIR}/cmake/InstallHeaders.cmake)" COMPONENT development)

install(TARGETS Zelhublib64 EXPORT Zelhublib64Targets
    RUNTIME COMPONENT runtime
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Zelhublib64)
install(EXPORT Zelhublib64Targets NAMESPACE Zelhublib64:: DESTINATION ${package_dir}
    COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/Zelhublib64ConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/Zelhublib64Config.cmake
    ${PROJECT_BINARY_DIR}/Zelhublib64ConfigVersion.cmake DESTINATION ${package_dir}
    COMPONENT development)

file(RELATIVE_PATH pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pc_to_prefix ${pc_to_prefix})
configure_file(${PROJECT_SOURCE_DIR}/cmake/zelhublib64.pc.in
    ${PROJECT_BINARY_DIR}/zelhublib64.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zelhublib64.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
