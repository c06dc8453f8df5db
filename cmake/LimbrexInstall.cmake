# What an engine team takes: two headers, both libraries, the plugin, the command, and two ways to find the library.
include(CMakePackageConfigHelpers)

set(library_targets limbrex)
if(TARGET limbrex_shared)
    list(APPEND library_targets limbrex_shared)
endif()
install(TARGETS ${library_targets} EXPORT limbrexTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES limbrex/limbrex.h plugin/limbrex_plugin.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/limbrex)
if(TARGET limbrex_plugin)
    install(TARGETS limbrex_plugin LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/limbrex)
endif()
if(TARGET limbrex_command)
    install(TARGETS limbrex_command RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# find_package(limbrex) gives limbrex::limbrex (static) and limbrex::limbrex_shared.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/limbrex)
install(EXPORT limbrexTargets NAMESPACE limbrex:: FILE limbrexConfig.cmake DESTINATION ${package_dir})
write_basic_package_version_file(limbrexConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/limbrexConfigVersion.cmake DESTINATION ${package_dir})

# The folders in limbrex.pc are relative to the file, so an installed tree may be moved.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/limbrex.pc.in limbrex.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/limbrex.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
