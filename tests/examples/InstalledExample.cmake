# Installs a build, moves the installation, builds examples/installed against that in the ways that there are, and runs
# what came of it.

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

# run_example(PROGRAM): what it must print.
function(run_example program)
    run("Roof: 69.8 degrees Fahrenheit\n" ${program} "weather.Reading { station = \"Roof\" celsius = 21.0 }")
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
run("*" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/installed)
set(prefix ${WORK_DIR}/moved)
file(RENAME ${WORK_DIR}/installed ${prefix})

# build_project(SOURCE_DIR BINARY_DIR): by its package.
function(build_project source binary)
    run("*" ${CMAKE_COMMAND} -S ${source} -B ${binary} -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${prefix}
            -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER} -DCMAKE_CXX_FLAGS=${FLAGS})
    run("*" ${CMAKE_COMMAND} --build ${binary})
endfunction()
build_project(${SOURCE_DIR} ${WORK_DIR}/project)
run_example(${WORK_DIR}/project/thermometer)
build_project(${PROGRAMS_DIR} ${WORK_DIR}/programs)
run("*" ${CMAKE_CTEST_COMMAND} --test-dir ${WORK_DIR}/programs --output-on-failure)

# By pkg-config.
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs kelm OUTPUT_VARIABLE options COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(options UNIX_COMMAND "${options}")
separate_arguments(flags UNIX_COMMAND "${FLAGS}")
run("*" ${COMPILER} -std=c++20 ${flags} ${SOURCE_DIR}/main.cpp -o ${WORK_DIR}/thermometer ${options}
        -Wl,-rpath,${prefix}/${LIBDIR})
run_example(${WORK_DIR}/thermometer)

# The installed tool finds the installed libraries.
if(EXISTS ${prefix}/bin/kelmscript)
    run("42\n" ${prefix}/bin/kelmscript eval "6 * 7")
endif()
