# Writes the examples' databases into DIR: WRITERS is a list of "program|file name" pairs.
file(REMOVE_RECURSE ${DIR})
file(MAKE_DIRECTORY ${DIR})
foreach(pair IN LISTS WRITERS)
    string(REPLACE "|" ";" pair "${pair}")
    list(GET pair 0 program)
    list(GET pair 1 name)
    execute_process(COMMAND ${program} ${name} WORKING_DIRECTORY ${DIR}
                    RESULT_VARIABLE rc OUTPUT_QUIET)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "${program} ${name} failed (${rc})")
    endif()
endforeach()
