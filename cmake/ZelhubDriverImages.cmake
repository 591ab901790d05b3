# The proxy driver's files, one for each processor family, as sources that embed their bytes.
# A family without a file gets a stand-in that refuses to start.

set(ZELHUB_DRIVER_X86 "" CACHE FILEPATH "Proxy driver file for x86 (empty: a refusing stand-in)")
set(ZELHUB_DRIVER_X64 "" CACHE FILEPATH "Proxy driver file for x64 (empty: a refusing stand-in)")
set(ZELHUB_DRIVER_ARM64 "" CACHE FILEPATH "Proxy driver file for ARM64 (empty: a refusing stand-in)")

# True when any carried driver is a stand-in: a package built so is a bench package.
set(ZELHUB_STAND_IN_DRIVERS OFF)

function(zelhub_driver_image family machine stand_in_bytes out_source)
    string(TOUPPER ${family} upper)
    set(file "${ZELHUB_DRIVER_${upper}}")
    set(source ${CMAKE_CURRENT_BINARY_DIR}/EmbeddedDriver${family}.cpp)
    if(file)
        if(NOT EXISTS "${file}" OR IS_DIRECTORY "${file}")
            message(FATAL_ERROR "ZELHUB_DRIVER_${upper}: there is no file ${file}")
        endif()
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
        file(READ "${file}" hex HEX)
        string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
        string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" bytes "${bytes}")
        set(definition "constexpr BYTE kFile[] = {\n${bytes}\n};")
        set(include "")
    else()
        set(ZELHUB_STAND_IN_DRIVERS ON PARENT_SCOPE)
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

zelhub_driver_image(X86 kX86 35912 driver_x86)
zelhub_driver_image(X64 kX64 38472 driver_x64)
zelhub_driver_image(Arm64 kArm64 39496 driver_arm64)
set(ZELHUB_DRIVER_SOURCES ${driver_x86} ${driver_x64} ${driver_arm64})
