# What the libraries run on; anything else is refused here with a sentence.

if(NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
    message(FATAL_ERROR "KelmScript needs a 64-bit system: its layouts of values and byte code are published for 64 bits.")
endif()
if(NOT CMAKE_CXX_BYTE_ORDER STREQUAL "LITTLE_ENDIAN")
    message(FATAL_ERROR "KelmScript needs a little-endian processor: byte code and archives hold little-endian numbers.")
endif()
if(NOT CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    message(FATAL_ERROR "KelmScript needs g++ or clang++: it uses their built-in functions.")
endif()

get_property(is_multi_config GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(PROJECT_IS_TOP_LEVEL AND NOT is_multi_config AND NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Release, RelWithDebInfo, Debug or MinSizeRel" FORCE)
endif()
