# Installs a build into a folder of its own, builds examples/installed against that, and runs what came of it.

# run(EXPECTED COMMAND...): runs a command that must succeed; EXPECTED is its output, or "*" for any.
function(run expected)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    list(JOIN ARGN " " command)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${command}\nfails (${result}):\n${output}")
    endif()
    if(NOT expected STREQUAL "*" AND NOT output STREQUAL expected)
        message(FATAL_ERROR "${command}\nwrites:\n${output}\nin place of:\n${expected}")
    endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
set(project ${WORK_DIR}/project)
file(REMOVE_RECURSE ${WORK_DIR})

run("*" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run("*" ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${project} -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${prefix}
        -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER} -DCMAKE_CXX_FLAGS=${FLAGS})
run("*" ${CMAKE_COMMAND} --build ${project})
run("Roof: 70.7 degrees Fahrenheit\n" ${project}/thermometer
    "weather.Reading { station = \"Roof\" celsius = 21.5 }")

# The installed tool finds the installed libraries.
if(EXISTS ${prefix}/bin/kelmscript)
    run("42\n" ${prefix}/bin/kelmscript eval "6 * 7")
endif()
