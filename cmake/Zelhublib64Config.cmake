include(${CMAKE_CURRENT_LIST_DIR}/Zelhublib64Targets.cmake)
