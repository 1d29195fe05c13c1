# Installation: libraries, headers, the tool, and a package that find_package(KelmScript) finds. Its components are what
# Debian's packages are made of: Runtime, Development and Tool.

include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY KELM_LIBRARIES)
install(TARGETS ${libraries} EXPORT KelmScriptTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
if(TARGET kelmscript)
    install(TARGETS kelmscript kelmscriptPrompt
            RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tool
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/kelmscript COMPONENT Tool)
    get_target_property(share kelmscript KELM_SHARE)
    if(share)
        install(DIRECTORY ${share}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT Tool)
        install(DIRECTORY ${share}/bash-completion ${share}/zsh ${share}/fish
                DESTINATION ${CMAKE_INSTALL_DATADIR} COMPONENT Tool)
    endif()
endif()

foreach(library klUtils klObject klPersistStore klMacroExpander)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/host/${library} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development
            FILES_MATCHING PATTERN "*.h" PATTERN "private" EXCLUDE)
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/klKelmScript
        COMPONENT Development
        FILES_MATCHING PATTERN "*.h" PATTERN "private" EXCLUDE)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/document/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelmDocument
        COMPONENT Development
        FILES_MATCHING PATTERN "*.h" PATTERN "private" EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/kelm DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development
        FILES_MATCHING PATTERN "*.h" PATTERN "private" EXCLUDE)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KelmScript)
install(EXPORT KelmScriptTargets NAMESPACE KelmScript:: DESTINATION ${package_dir} COMPONENT Development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KelmScriptConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/KelmScriptConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KelmScriptConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KelmScriptConfig.cmake ${PROJECT_BINARY_DIR}/KelmScriptConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT Development)

# For builds that ask pkg-config: the same targets. Folders are given by their place relative to the file.
file(RELATIVE_PATH KELM_PREFIX_FROM_PC /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
foreach(name kelm klKelmScript)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
            COMPONENT Development)
endforeach()
