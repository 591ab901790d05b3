# Makes the package for Windows, unpacks it, and runs the tool from the unpacked folder.
# Variables: BINARY_DIR, SOURCE_DIR, CPACK, EMULATOR (a list; empty on Windows itself)
set(work ${BINARY_DIR}/package-test)
file(REMOVE_RECURSE ${work})

function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output
                    ERROR_VARIABLE error)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGV}\n${output}${error}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CPACK} --config ${BINARY_DIR}/CPackConfig.cmake -B ${work})
file(GLOB zip ${work}/zelhub-*-windows-x64*.zip)
file(ARCHIVE_EXTRACT INPUT ${zip} DESTINATION ${work}/unpacked)
file(GLOB root ${work}/unpacked/zelhub-*)
foreach(file bin/zelhub.exe bin/Zelhublib64.dll lib/Zelhublib64.dll.a include/zelhub/api/zelhub.h
        LICENSE doc/windows.md)
    if(NOT EXISTS ${root}/${file})
        message(FATAL_ERROR "the package lacks ${file}")
    endif()
endforeach()

run(${EMULATOR} ${root}/bin/zelhub.exe --bench ${SOURCE_DIR}/examples/dock.json list --details)
file(READ ${SOURCE_DIR}/tests/tool/transcripts/list.txt expected)
string(REGEX REPLACE "--\n.*" "" expected "${expected}")
if(NOT output STREQUAL expected)
    message(FATAL_ERROR "the tool of the package says:\n${output}")
endif()
