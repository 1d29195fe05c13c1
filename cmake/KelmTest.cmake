include(KelmJoinTests)

# kelm_test(NAME [LEVEL -O2] SOURCES... [APART sources...] [LIBS libs...]): a GoogleTest program and its entry in ctest.
#
# Tests are built once and run once: compiling them fast matters more than their speed, but where LEVEL says otherwise.
# GoogleTest's headers take longer than most of the tests themselves: kelmTestHeaders compiles them for all.
#
# Where KELM_JOIN_TESTS is on, the sources are compiled together, but for what stands behind APART.
function(kelm_test name)
    cmake_parse_arguments(ARG "" "LEVEL" "SOURCES;APART;LIBS" ${ARGN})
    if(KELM_JOIN_TESTS)
        kelm_joined_tests(ARG_SOURCES ${name} SOURCES ${ARG_SOURCES} APART ${ARG_APART})
    endif()
    add_executable(${name} ${ARG_SOURCES} $<TARGET_OBJECTS:kelmTestHeaders>)
    if(ARG_LEVEL)
        target_compile_options(${name} PRIVATE ${ARG_LEVEL})
        target_precompile_headers(${name} PRIVATE <gmock/gmock.h>)
    else()
        target_compile_options(${name} PRIVATE -O0)
        target_precompile_headers(${name} REUSE_FROM kelmTestHeaders)
    endif()
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} kelmTestSupport GTest::gmock_main)
    add_test(NAME ${name} COMMAND ${name})
    set(timeout 600)
    if(CMAKE_CROSSCOMPILING)
        set(timeout 3600)
    endif()
    # Programs begin before the many tests that are a moment each, so that the last to end is none of the longest.
    set_tests_properties(${name} PROPERTIES TIMEOUT ${timeout} COST 10)
endfunction()
