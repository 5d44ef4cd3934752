# Installs the freshly built library twice, with `cmake --install --prefix` into a private folder
# and as the Debian packages libvel and libvel-dev (cpack -G DEB) unpacked into a scratch root;
# against each it builds and runs an outside CMake project that finds the package with
# find_package(vel CONFIG REQUIRED), and a one-file program built with nothing but
# `pkg-config --cflags --libs vel`.
file(REMOVE_RECURSE ${WORK_DIR})

function(run_step)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "step failed (${rc}): ${ARGN}\n${out}\n${err}")
    endif()
    set(step_output "${out}" PARENT_SCOPE)
endfunction()

set(flags "")
if(SANITIZE)
    set(flags "-fsanitize=address,undefined")
endif()

# Builds and runs both consumers against the tree installed under `prefix`.
function(check_tree prefix name)
    set(out ${WORK_DIR}/${name})
    file(GLOB_RECURSE pc_file ${prefix}/*/vel.pc)
    get_filename_component(pc_dir ${pc_file} DIRECTORY)
    get_filename_component(lib_dir ${pc_dir} DIRECTORY)
    set(ENV{PKG_CONFIG_LIBDIR} ${pc_dir})
    set(ENV{PKG_CONFIG_PATH} "")
    run_step(pkg-config --cflags --libs vel)
    string(STRIP "${step_output}" pc_flags)
    separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
    separate_arguments(san_flags UNIX_COMMAND "${flags}")
    file(MAKE_DIRECTORY ${out})
    run_step(${CXX} -std=c++17 ${san_flags} -o ${out}/one_file
             ${VEL_SOURCE_DIR}/tests/package/one_file.cpp ${pc_flags})
    set(ENV{LD_LIBRARY_PATH} ${lib_dir})
    run_step(${out}/one_file ${out}/one_file.vel)
    message(STATUS "${name}: ${step_output}")

    run_step(${CMAKE_COMMAND} -S ${VEL_SOURCE_DIR}/tests/package/consumer -B ${out}/consumer
             -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_FLAGS=${flags}
             -DCMAKE_EXE_LINKER_FLAGS=${flags})
    run_step(${CMAKE_COMMAND} --build ${out}/consumer)
    run_step(${out}/consumer/vel_consumer)
    message(STATUS "${name}: ${step_output}")
    if(NOT step_output MATCHES "started 7 modules, 0 left after finalize")
        message(FATAL_ERROR "unexpected consumer output: ${step_output}")
    endif()
endfunction()

run_step(${CMAKE_COMMAND} --install ${VEL_BINARY_DIR} --prefix ${WORK_DIR}/prefix)
check_tree(${WORK_DIR}/prefix prefix)

get_filename_component(cmake_bin ${CMAKE_COMMAND} DIRECTORY)
run_step(${cmake_bin}/cpack -G DEB --config ${VEL_BINARY_DIR}/CPackConfig.cmake
         -B ${WORK_DIR}/deb)
foreach(package libvel libvel-dev)
    file(GLOB deb ${WORK_DIR}/deb/${package}_*.deb)
    run_step(dpkg-deb -x ${deb} ${WORK_DIR}/root)
endforeach()
check_tree(${WORK_DIR}/root/usr deb-root)
