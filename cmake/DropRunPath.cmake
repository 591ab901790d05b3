# Before packing: the staged tool gives up its run path. Variables: CPACK_TEMPORARY_DIRECTORY
file(RPATH_REMOVE FILE ${CPACK_TEMPORARY_DIRECTORY}/tool/usr/bin/zelhub)
