# The proxy driver's files, one for each processor family, as sources that embed their bytes.
# A family without a file gets a stand-in that refuses to start.

set(ZELHUB_DRIVER_X86 "" CACHE FILEPATH "Proxy driver file for x86 (empty: a refusing stand-in)")
set(ZELHUB_DRIVER_X64 "" CACHE FILEPATH "Proxy driver file for x64 (empty: a refusing stand-in)")
set(ZELHUB_DRIVER_ARM64 "" CACHE FILEPATH "Proxy driver file for ARM64 (empty: a refusing stand-in)")

# The families that get a stand-in. A package with any is a bench package.
set(ZELHUB_STAND_IN_DRIVERS "")

# Stops the build unless the file (its bytes as hexadecimal text) is an executable for the
# processor, with a version resource: the library compares versions before it replaces a driver.
function(zelhub_check_driver variable file hex machine)
    string(LENGTH "${hex}" length)
    set(pe "")
    if(hex MATCHES "^4d5a" AND length GREATER 128)
        string(SUBSTRING "${hex}" 120 8 offset)
        string(REGEX REPLACE "(..)(..)(..)(..)" "0x\\4\\3\\2\\1" offset ${offset})
        math(EXPR at "${offset} * 2")
        math(EXPR end "${at} + 12")
        if(NOT length LESS end)
            string(SUBSTRING "${hex}" ${at} 12 pe)
        endif()
    endif()
    if(NOT pe MATCHES "^50450000")
        message(FATAL_ERROR "${variable}: ${file} is not a driver file (no PE executable)")
    endif()
    if(NOT pe STREQUAL "50450000${machine}")
        message(FATAL_ERROR "${variable}: ${file} is a driver for another processor")
    endif()
    # "VS_VERSION_INFO" in UTF-16, its end, and the signature of the numbers' record
    if(NOT hex MATCHES
       "560053005f00560045005200530049004f004e005f0049004e0046004f0000000000bd04effe")
        message(FATAL_ERROR "${variable}: ${file} has no version resource")
    endif()
endfunction()

function(zelhub_driver_image family machine machine_bytes stand_in_bytes out_source)
    string(TOUPPER ${family} upper)
    set(file "${ZELHUB_DRIVER_${upper}}")
    set(source ${CMAKE_CURRENT_BINARY_DIR}/EmbeddedDriver${family}.cpp)
    if(file)
        if(NOT EXISTS "${file}" OR IS_DIRECTORY "${file}")
            message(FATAL_ERROR "ZELHUB_DRIVER_${upper}: there is no file ${file}")
        endif()
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
        file(READ "${file}" hex HEX)
        zelhub_check_driver(ZELHUB_DRIVER_${upper} "${file}" "${hex}" ${machine_bytes})
        string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
        string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" bytes "${bytes}")
        set(definition "constexpr BYTE kFile[] = {\n${bytes}\n};")
        set(include "")
    else()
        string(REPLACE Arm64 ARM64 name ${family})
        string(REPLACE X x name ${name})
        set(ZELHUB_STAND_IN_DRIVERS ${ZELHUB_STAND_IN_DRIVERS} ${name} PARENT_SCOPE)
        set(definition "constexpr auto kFile = stand_in::MakeFile<${stand_in_bytes}>(stand_in::${machine});")
        set(include "#include \"transport/StandInDriver.h\"\n")
    endif()
    file(CONFIGURE OUTPUT ${source} @ONLY CONTENT
"#include \"transport/DriverImages.h\"
@include@
namespace
{
@definition@
}

std::span<const BYTE> EmbeddedDriver@family@()
{
    return kFile;
}
")
    set(${out_source} ${source} PARENT_SCOPE)
endfunction()

zelhub_driver_image(X86 kX86 4c01 35912 driver_x86)
zelhub_driver_image(X64 kX64 6486 38472 driver_x64)
zelhub_driver_image(Arm64 kArm64 64aa 39496 driver_arm64)
set(ZELHUB_DRIVER_SOURCES ${driver_x86} ${driver_x64} ${driver_arm64})
if(ZELHUB_STAND_IN_DRIVERS)
    string(JOIN ", " stand_ins ${ZELHUB_STAND_IN_DRIVERS})
    message(STATUS "Drivers: refusing stand-ins are embedded for ${stand_ins}; name files by "
        "ZELHUB_DRIVER_X86, ZELHUB_DRIVER_X64, ZELHUB_DRIVER_ARM64")
endif()
