# kelm_joined_tests(VARIABLE NAME SOURCES sources... [APART sources...]): sets VARIABLE to what a test program of these
# sources is compiled from where KELM_JOIN_TESTS is on: its *Test.cpp as one source, since what they include and
# instantiate costs more than they do.
#
# Each file's unnamed namespaces stand in one that is called by the file, so that files need not know each other's names.
# Lines, and the paths that messages and __FILE__ show, stay those of the files. Compiled as they are: files with macros
# of their own, those behind APART (which define for their own use what a header that others include has as well, or say
# something of a type in an unnamed namespace that another has, too), and all that are no tests.
function(kelm_joined_tests variable name)
    cmake_parse_arguments(ARG "" "" "SOURCES;APART" ${ARGN})
    set(apart ${ARG_APART})
    list(TRANSFORM apart PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    set(alone)
    set(joined)
    foreach(source IN LISTS ARG_SOURCES)
        cmake_path(ABSOLUTE_PATH source NORMALIZE)
        set(macros)
        if(EXISTS ${source})
            file(STRINGS ${source} macros REGEX "^#define " LIMIT_COUNT 1)
        endif()
        if(source MATCHES "Test\\.cpp$" AND NOT macros AND NOT source IN_LIST apart)
            list(APPEND joined ${source})
        else()
            list(APPEND alone ${source})
        endif()
    endforeach()
    list(LENGTH joined count)
    if(count LESS 2)
        set(${variable} ${ARG_SOURCES} PARENT_SCOPE)
        return()
    endif()

    set(output ${CMAKE_CURRENT_BINARY_DIR}/joined/${name}.cpp)
    kelm_write_joined(${output} ${joined})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${joined})
    set(${variable} ${output} ${alone} PARENT_SCOPE)
endfunction()

# A source is written only when it changes, so that configuring again does not compile it again.
function(kelm_write_joined output)
    file(WRITE ${output}.new "")
    foreach(file IN LISTS ARGN)
        cmake_path(GET file PARENT_PATH folder)
        cmake_path(GET file STEM stem)
        set(own Of${stem})
        file(READ ${file} text)
        string(REPLACE "\nnamespace\n{" "\nnamespace ${own} {} using namespace ${own}; namespace ${own} { namespace\n{" text
                       "${text}")
        string(REPLACE "\n} // namespace\n" "\n}} // namespace\n" text "${text}")
        # Headers beside the file are found from there.
        file(STRINGS ${file} includes REGEX "^#include \"")
        foreach(include IN LISTS includes)
            string(REGEX REPLACE "^#include \"(.*)\"$" "\\1" header "${include}")
            if(EXISTS ${folder}/${header})
                string(REPLACE "#include \"${header}\"" "#include \"${folder}/${header}\"" text "${text}")
            endif()
        endforeach()
        file(APPEND ${output}.new "#line 1 \"${file}\"\n${text}\n")
    endforeach()
    file(COPY_FILE ${output}.new ${output} ONLY_IF_DIFFERENT)
endfunction()
