# Compiles SOURCE with COMPILER and FLAGS, which must fail with every text that SOURCE states in a line "// error: ...".
file(STRINGS ${SOURCE} expected REGEX "^// error: ")
if(NOT expected)
    message(FATAL_ERROR "${SOURCE} does not say which error it expects")
endif()
execute_process(COMMAND ${COMPILER} -std=c++20 -fsyntax-only ${FLAGS} ${SOURCE}
                RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(result EQUAL 0)
    message(FATAL_ERROR "${SOURCE} compiles")
endif()
# Compilers differ in how they write quotes and break lines.
string(REPLACE "\\\"" "\"" output "${output}")
foreach(line IN LISTS expected)
    string(REGEX REPLACE "^// error: " "" text "${line}")
    string(FIND "${output}" "${text}" position)
    if(position EQUAL -1)
        message(FATAL_ERROR "Expected\n    ${text}\nin\n${output}")
    endif()
endforeach()
