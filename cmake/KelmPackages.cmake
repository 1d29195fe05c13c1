# Debian packages of the installation's components, made by cpack in a build of the preset "package":
#   libkelmscript0      the libraries
#   libkelmscript-dev   headers and what finds them
#   kelmscript          the tool

set(packages Runtime libkelmscript${PROJECT_VERSION_MAJOR} Development libkelmscript-dev Tool kelmscript)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kelmscript)
set(CPACK_PACKAGE_VENDOR "The KelmScript authors")
set(CPACK_PACKAGE_CONTACT "The KelmScript authors <authors@kelmscript.invalid>")
set(CPACK_PACKAGE_FILE_NAME kelmscript-${PROJECT_VERSION})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Runtime Development Tool)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

set(about "KelmScript reads expressions and data sources for programs that describe
their data by reflection, and walks paths through their objects.
")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "expressions, field paths and data sources for C++ programs
${about}
This package holds the shared libraries.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libkelmscript${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "headers of KelmScript, expressions and data sources for C++
${about}
This package holds what programs are compiled with: headers, and files for
CMake and pkg-config.")

set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS ${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS})
set(CPACK_COMPONENT_TOOL_DESCRIPTION
    "evaluate expressions, check and edit data sources on the command line
${about}
This package holds the command line tool.")

# What policy asks of each package: its licence and its changes.
find_program(GZIP gzip REQUIRED)
set(documents ${PROJECT_BINARY_DIR}/packages)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/copyright ${documents}/copyright COPYONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in ${documents}/changelog.Debian @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${documents}/changelog COPYONLY)
execute_process(COMMAND ${GZIP} -9nf changelog changelog.Debian WORKING_DIRECTORY ${documents}
                COMMAND_ERROR_IS_FATAL ANY)
while(packages)
    list(POP_FRONT packages component name)
    string(TOUPPER ${component} key)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
    install(FILES ${documents}/copyright ${documents}/changelog.gz ${documents}/changelog.Debian.gz
            DESTINATION ${CMAKE_INSTALL_DOCDIR}/../${name} COMPONENT ${component})
endwhile()

include(CPack)
