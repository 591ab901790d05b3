# Runs at install time. Installs the headers that hosts need: the seam's and what travels, every
# header that declares something exported, and whatever those include. The library's private
# headers stay behind. Variables: SOURCE_ROOT, DESTINATION
cmake_policy(VERSION 3.25)
file(GLOB wanted RELATIVE ${SOURCE_ROOT} ${SOURCE_ROOT}/platform/*.h ${SOURCE_ROOT}/wire/*.h
     ${SOURCE_ROOT}/api/zelhub*.h)
# What reads the wire for a driver has code behind it that hosts do not get.
list(FILTER wanted EXCLUDE REGEX "^wire/(C[A-Z]|ControlRequest)")
file(GLOB others RELATIVE ${SOURCE_ROOT} ${SOURCE_ROOT}/msg/*.h ${SOURCE_ROOT}/transport/*.h
     ${SOURCE_ROOT}/cmd/*.h ${SOURCE_ROOT}/find/*.h ${SOURCE_ROOT}/dev/*.h ${SOURCE_ROOT}/flow/*.h)
foreach(header ${others})
    file(STRINGS ${SOURCE_ROOT}/${header} exports REGEX "ZEL_API")
    if(exports)
        list(APPEND wanted ${header})
    endif()
endforeach()

set(installed)
while(wanted)
    list(POP_FRONT wanted header)
    if(header IN_LIST installed)
        continue()
    endif()
    list(APPEND installed ${header})
    get_filename_component(folder ${header} DIRECTORY)
    file(INSTALL ${SOURCE_ROOT}/${header} DESTINATION ${DESTINATION}/${folder})
    file(STRINGS ${SOURCE_ROOT}/${header} includes REGEX "^ *# *include *\"")
    foreach(line ${includes})
        string(REGEX REPLACE ".*\"(.*)\".*" "\\1" included "${line}")
        list(APPEND wanted ${included})
    endforeach()
endwhile()
