# install.cmake: the library, headers, pkg-config file and CMake package for callers.
include(CMakePackageConfigHelpers)

install(TARGETS tonekit EXPORT tonekit LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tonekit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")

# The pkg-config file has plain paths where the loader looks by itself. Elsewhere it is relative to its own place, so that an
# installed copy may be moved, and programs linked by it find the library.
get_property(packages GLOBAL PROPERTY TONEKIT_PACKAGES)
set(TONEKIT_PC_REQUIRES "")
set(TONEKIT_PC_RUN_PATH "")
if(NOT WIN32)
    list(JOIN packages ", " TONEKIT_PC_REQUIRES)
    set(TONEKIT_PC_RUN_PATH "-Wl,-rpath,\${libdir} ")
endif()
file(RELATIVE_PATH TONEKIT_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(PREPEND TONEKIT_PC_PREFIX "\${pcfiledir}/")
configure_file(${CMAKE_CURRENT_LIST_DIR}/tonekit.pc.in ${TONEKIT_GENERATED}/elsewhere/tonekit.pc @ONLY)
set(TONEKIT_PC_RUN_PATH "")
foreach(prefix /usr /usr/local)
    set(TONEKIT_PC_PREFIX ${prefix})
    configure_file(${CMAKE_CURRENT_LIST_DIR}/tonekit.pc.in ${TONEKIT_GENERATED}${prefix}/tonekit.pc @ONLY)
endforeach()
install(CODE "
    set(variant /elsewhere)
    if(CMAKE_INSTALL_PREFIX MATCHES \"^(/usr(/local)?)/?$\")
        set(variant \${CMAKE_MATCH_1})
    endif()
    file(INSTALL \"${TONEKIT_GENERATED}\${variant}/tonekit.pc\"
        DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig\")")

install(EXPORT tonekit NAMESPACE tonekit:: FILE tonekit-config.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tonekit)
write_basic_package_version_file(${TONEKIT_GENERATED}/tonekit-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${TONEKIT_GENERATED}/tonekit-config-version.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tonekit)
