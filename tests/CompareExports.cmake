# Compares the names that a library exports with a list, a name a line in alphabetical order.
execute_process(COMMAND ${NM} -DC --defined-only --format=just-symbols ${LIBRARY}
    OUTPUT_VARIABLE exported COMMAND_ERROR_IS_FATAL ANY)
file(READ ${EXPECTED} expected)
if(NOT exported STREQUAL expected)
    message(FATAL_ERROR "${LIBRARY} exports\n${exported}instead of\n${expected}")
endif()
