# install.cmake: the library, headers, pkg-config file and CMake package for callers.
include(CMakePackageConfigHelpers)

install(TARGETS tonekit EXPORT tonekit LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tonekit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")

# Relative to its own place, so that an installed copy may be moved. Programs linked by it find the library where the loader
# doesn't look by itself.
file(RELATIVE_PATH TONEKIT_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
set(TONEKIT_PC_RUN_PATH "")
configure_file(${CMAKE_CURRENT_LIST_DIR}/tonekit.pc.in ${TONEKIT_GENERATED}/system/tonekit.pc @ONLY)
if(NOT WIN32)
    set(TONEKIT_PC_RUN_PATH "-Wl,-rpath,\${libdir} ")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/tonekit.pc.in ${TONEKIT_GENERATED}/elsewhere/tonekit.pc @ONLY)
install(CODE "
    set(variant elsewhere)
    if(CMAKE_INSTALL_PREFIX MATCHES \"^/usr(/local)?/?$\")
        set(variant system)
    endif()
    file(INSTALL \"${TONEKIT_GENERATED}/\${variant}/tonekit.pc\"
        DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig\")")

install(EXPORT tonekit NAMESPACE tonekit:: FILE tonekit-config.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tonekit)
write_basic_package_version_file(${TONEKIT_GENERATED}/tonekit-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${TONEKIT_GENERATED}/tonekit-config-version.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tonekit)
