# Everything that all targets of the project share: language level, warnings, sanitizers, output folders, and the
# function that makes one of its shared libraries.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
# Run paths are the same here and after installation: one that is written again then is padded with empty entries, which
# mean the current folder, whoever's that is. Where none are installed, those of here are taken out.
if(NOT CMAKE_SKIP_INSTALL_RPATH)
    set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
endif()
set(CMAKE_INSTALL_RPATH "$ORIGIN/../lib")
if(NOT CMAKE_INSTALL_LIBDIR STREQUAL "lib")
    list(APPEND CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()

find_program(KELM_CCACHE ccache)
if(KELM_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${KELM_CCACHE})
endif()

if(KELM_STRICT)
    add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
endif()

# At -O3, g++ 12 takes `"text" + std::string` for a copy that overlaps itself (https://gcc.gnu.org/PR105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    add_compile_options(-Wno-restrict)
endif()

# What is built does not tell where: two builds of one state are the same, octet for octet. Those who work on the project
# keep its paths, by which their debuggers find the sources.
if(NOT KELM_STRICT)
    add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
    cmake_path(IS_PREFIX PROJECT_SOURCE_DIR ${PROJECT_BINARY_DIR} NORMALIZE is_inside)
    if(NOT is_inside)
        add_compile_options(-ffile-prefix-map=${PROJECT_BINARY_DIR}=.)
    endif()
endif()

# Assertions of the system are ordinary code; NDEBUG would only affect the standard library's.
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g1")
set(CMAKE_CXX_FLAGS_DEBUG "-O0 -g")

if(CMAKE_UNITY_BUILD)
    # A source that is compiled with others looks like a header to g++, which must have no types of its own.
    add_compile_options(-Wno-subobject-linkage)
endif()

if(KELM_SANITIZE)
    if(NOT KELM_FUZZ)
        # Their programs run once: -O2 takes longer to compile than it saves.
        set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g1")
    endif()
    add_compile_options(-fsanitize=${KELM_SANITIZE} -fno-omit-frame-pointer)
    # Instrumented code looks to g++ as if it went beyond its arrays; the other builds are those that tell of warnings.
    add_compile_options(-Wno-error)
    add_link_options(-fsanitize=${KELM_SANITIZE})
    if(KELM_SANITIZE MATCHES "undefined")
        # A script value's payload lies at an offset of 4 by design, so its 8-octet members are not naturally aligned.
        # Scalars are read through byte copies; strings and reflected values are used where they lie. x86-64 allows it.
        add_compile_options(-fno-sanitize=alignment -fno-sanitize-recover=all)
        # With its checks for null g++ takes no address for a constant, and described types' tables are made of addresses
        # at compile time. A null that is used is found by the address sanitizer.
        add_compile_options(-fno-sanitize=null,nonnull-attribute,returns-nonnull-attribute)
        # The type check of virtual calls needs one copy of every type's description, which hidden visibility forbids.
        add_compile_options(-fno-sanitize=vptr)
    endif()
endif()
if(KELM_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link) # the libraries report what an input reaches
endif()
if(KELM_COVERAGE)
    add_compile_options(--coverage)
    add_compile_definitions(KELM_COVERAGE)
    # What is inlined always has no counters of its own, and cannot be told from a copy of it.
    add_compile_definitions(always_inline=noinline)
    add_compile_options(-Wno-attributes) # of functions that are inline and noinline
    add_link_options(--coverage)
endif()

# The tree's own include root: build/<preset>/include/klKelmScript stands for src/, include/kelm for kelm/,
# include/kelmDocument for document/ and include/kelmLanguage for language/, so that the include lines <kelm/kelm.h> and
# <klKelmScript/KSValue.h> are the same here and after installation.
set(KELM_INCLUDE_DIR ${PROJECT_BINARY_DIR}/include)
file(MAKE_DIRECTORY ${KELM_INCLUDE_DIR})
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src ${KELM_INCLUDE_DIR}/klKelmScript SYMBOLIC)
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/kelm ${KELM_INCLUDE_DIR}/kelm SYMBOLIC)
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/document ${KELM_INCLUDE_DIR}/kelmDocument SYMBOLIC)
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/language ${KELM_INCLUDE_DIR}/kelmLanguage SYMBOLIC)

# Where a program is wrong after all, its mistakes are hard to use: at a price, which docs/reliability.md tells.
function(kelm_harden name)
    target_compile_options(${name} PRIVATE -fstack-protector-strong)
    if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
        target_compile_options(${name} PRIVATE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    endif()
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        target_compile_options(${name} PRIVATE -fcf-protection)
    elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
        target_compile_options(${name} PRIVATE -mbranch-protection=standard)
    endif()
endfunction()

# kelm_join(NAME SOURCES...): joined builds (CMAKE_UNITY_BUILD) compile all of a target's sources as one, in a fraction of
# the time. Compiled apart are the named ones, whose own names others have as well, and those that name their file in
# assertions, as each of them calls it the same.
function(kelm_join name)
    if(NOT CMAKE_UNITY_BUILD)
        return()
    endif()
    set_target_properties(${name} PROPERTIES UNITY_BUILD_BATCH_SIZE 0)
    set(apart ${ARGN})
    list(TRANSFORM apart PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    get_target_property(sources ${name} SOURCES)
    list(FILTER sources EXCLUDE REGEX "^\\$")
    foreach(source IN LISTS sources)
        file(STRINGS ${source} own REGEX " s_sourceFile = " LIMIT_COUNT 1)
        if(own OR source IN_LIST apart)
            set_source_files_properties(${source} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
        endif()
    endforeach()
endfunction()

# kelm_library(NAME SOURCES... [APART sources...] [DEPENDS libs...]): a library of the house with its headers' include
# root.
function(kelm_library name)
    cmake_parse_arguments(ARG "" "INCLUDE_ROOT" "SOURCES;APART;DEPENDS" ${ARGN})
    add_library(${name} ${ARG_SOURCES})
    add_library(KelmScript::${name} ALIAS ${name})
    kelm_join(${name} ${ARG_APART})
    target_compile_features(${name} PUBLIC cxx_std_20)
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${ARG_INCLUDE_ROOT}>
                                              $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
    set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                                             INSTALL_RPATH "$ORIGIN")
    # Neighbouring members joined into one wide load would wait for the narrower stores that made them.
    target_compile_options(${name} PRIVATE -fno-tree-slp-vectorize)
    # Calls inside a library need no detour through its symbol table. --no-as-needed keeps libraries that are loaded
    # with a module although nothing of them is called.
    target_compile_options(${name} PRIVATE -fno-semantic-interposition -fno-plt)
    target_link_options(${name} PRIVATE -Wl,-Bsymbolic-functions -Wl,--no-as-needed -Wl,-z,relro,-z,now)
    # What registers types stays mapped, and threads that run on stack segments call back when they end, however late.
    target_link_options(${name} PRIVATE -Wl,-z,nodelete)
    if(NOT KELM_SANITIZE)
        target_link_options(${name} PRIVATE -Wl,-z,defs)
    endif()
    if(KELM_HARDEN)
        kelm_harden(${name})
    endif()
    set_property(GLOBAL APPEND PROPERTY KELM_LIBRARIES ${name})
endfunction()
