# cpack: on Windows a zip with the tool beside the library, on Linux three Debian packages.
set(CPACK_PACKAGE_NAME zelhub)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_STRIP_FILES ON)

if(WIN32)
    # A package whose library carries a refusing stand-in instead of a driver is called a bench
    # package.
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_FILE_NAME zelhub-${PROJECT_VERSION}-windows-x64)
    if(ZELHUB_STAND_IN_DRIVERS)
        string(APPEND CPACK_PACKAGE_FILE_NAME -bench)
    endif()
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION .)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/windows.md DESTINATION doc)
    include(CPack)
    return()
endif()

include(ZelhubDebian)
include(CPack)
