# Installs this build into an empty folder, builds the hosts against what is installed, by the
# CMake package and by pkg-config, and runs them.
# Variables: BINARY_DIR, SOURCE_DIR, CC, CXX, PKG_CONFIG
set(work ${BINARY_DIR}/install-test)
set(prefix ${work}/prefix)
file(REMOVE_RECURSE ${work})
file(MAKE_DIRECTORY ${work}/plain)

function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output
                    ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGV}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect what pattern)
    if(NOT output MATCHES "${pattern}")
        message(FATAL_ERROR "${what}: expected ${pattern}, got:\n${output}")
    endif()
endfunction()

# Makes an image of 32,768 bytes whose version field (offset 32505) reads "9a", 0x3961.
string(REPEAT "0123456789abcdef" 2048 image)
file(WRITE ${work}/image.bin "${image}")

# The hosts, the way they are run everywhere below.
function(run_hosts folder)
    run(${folder}/host_c)
    expect("the C host" "^[0-9]+ hubs\n$")
    run(${folder}/host_cpp ${work}/image.bin)
    expect("the C++ host" "^3961\n$")
endfunction()

run(${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${prefix})
if(EXISTS ${prefix}/include/zelhub/platform/linux)
    message(FATAL_ERROR "the system's own classes were installed")
endif()

run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/install/host -B ${work}/cmake -G Ninja
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_C_COMPILER=${CC} -DCMAKE_CXX_COMPILER=${CXX}
    -DZELHUB_INCLUDE=${prefix}/include/zelhub)
run(${CMAKE_COMMAND} --build ${work}/cmake)
run_hosts(${work}/cmake)

if(PKG_CONFIG)
    file(GLOB_RECURSE pc ${prefix}/zelhublib64.pc)
    get_filename_component(pc_dir ${pc} DIRECTORY)
    set(ENV{PKG_CONFIG_PATH} ${pc_dir})
    run(${PKG_CONFIG} --cflags --libs zelhublib64)
    separate_arguments(flags UNIX_COMMAND "${output}")
    get_filename_component(lib_dir ${pc_dir} DIRECTORY)
    set(host ${SOURCE_DIR}/tests/install/host)
    run(${CC} ${host}/host.c -o ${work}/plain/host_c ${flags} -Wl,-rpath,${lib_dir})
    run(${CXX} -std=c++20 ${host}/host.cpp -o ${work}/plain/host_cpp ${flags}
        -Wl,-rpath,${lib_dir})
    run_hosts(${work}/plain)
else()
    message(WARNING "no pkg-config on this machine: its half was not run")
endif()
