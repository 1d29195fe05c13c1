# kelm_test(NAME SOURCES... [LIBS libs...]): a GoogleTest program and its entry in ctest.
function(kelm_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES} ${PROJECT_SOURCE_DIR}/tests/support/Locale.cpp)
    # Tests are built once and run once: compiling them fast matters more than their speed.
    target_compile_options(${name} PRIVATE -O0)
    list(LENGTH ARG_SOURCES count)
    if(count GREATER 3)
        # GoogleTest's headers take longer than most of the tests themselves.
        target_precompile_headers(${name} PRIVATE <gmock/gmock.h>)
    endif()
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} kelmTestSupport GTest::gmock_main)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()
