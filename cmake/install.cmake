# install.cmake: the library, headers, pkg-config file and CMake package for callers.
include(CMakePackageConfigHelpers)

install(TARGETS tonekit EXPORT tonekit LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tonekit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")

# Relative to its own place, so that an installed copy may be moved.
file(RELATIVE_PATH TONEKIT_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/tonekit.pc.in ${TONEKIT_GENERATED}/tonekit.pc @ONLY)
install(FILES ${TONEKIT_GENERATED}/tonekit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(EXPORT tonekit NAMESPACE tonekit:: FILE tonekit-config.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tonekit)
write_basic_package_version_file(${TONEKIT_GENERATED}/tonekit-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${TONEKIT_GENERATED}/tonekit-config-version.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tonekit)
