# Installs the freshly built library into a private prefix, then configures, builds and runs an
# outside project that finds it with find_package(vel CONFIG REQUIRED).
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run_step)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "step failed (${rc}): ${ARGN}\n${out}\n${err}")
    endif()
    set(step_output "${out}" PARENT_SCOPE)
endfunction()

run_step(${CMAKE_COMMAND} --install ${VEL_BINARY_DIR} --prefix ${prefix})

set(flags "")
if(SANITIZE)
    set(flags "-fsanitize=address,undefined")
endif()
run_step(${CMAKE_COMMAND} -S ${VEL_SOURCE_DIR}/tests/package/consumer -B ${WORK_DIR}/build
         -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_FLAGS=${flags} -DCMAKE_EXE_LINKER_FLAGS=${flags})
run_step(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run_step(${WORK_DIR}/build/vel_consumer)
message(STATUS "${step_output}")
if(NOT step_output MATCHES "started 7 modules, 0 left after finalize")
    message(FATAL_ERROR "unexpected consumer output: ${step_output}")
endif()
