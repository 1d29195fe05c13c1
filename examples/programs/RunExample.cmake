# Runs a program in a fresh folder and compares what it prints with what it must print.
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
if(FILES)
    file(COPY ${FILES} DESTINATION ${FOLDER})
endif()
execute_process(COMMAND ${PROGRAM} ${ARGUMENTS} WORKING_DIRECTORY ${FOLDER} INPUT_FILE ${INPUT} OUTPUT_VARIABLE output
                ERROR_VARIABLE errors RESULT_VARIABLE result)
file(READ ${EXPECTED} expected)
if(NOT result EQUAL 0 OR NOT output STREQUAL expected OR NOT errors STREQUAL "")
    message(FATAL_ERROR "${PROGRAM} ends with ${result} and prints:\n${output}${errors}\nin place of:\n${expected}")
endif()
