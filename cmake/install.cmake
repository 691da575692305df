# What `cmake --install` leaves: the library where the host looks for its modules, the public header, and a package with
# which a host finds the header:
#
#   find_package(vane-interface REQUIRED)
#   target_link_libraries(host PRIVATE Lapvane::vane-interface)
include(CMakePackageConfigHelpers)

set(LAPVANE_INSTALL_PLUGINDIR "${CMAKE_INSTALL_LIBDIR}/lapvane/plugins" CACHE STRING
    "Folder of the timing application's modules, below the installation prefix")
set(vane_interface_packagedir "${CMAKE_INSTALL_LIBDIR}/cmake/vane-interface")

install(TARGETS lapvane-ticket-plugin
    LIBRARY DESTINATION ${LAPVANE_INSTALL_PLUGINDIR}
    RUNTIME DESTINATION ${LAPVANE_INSTALL_PLUGINDIR})

install(FILES ${PROJECT_SOURCE_DIR}/plugin/include/vaneplugininterface.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(TARGETS vane-interface EXPORT vane-interface-targets)
install(EXPORT vane-interface-targets NAMESPACE Lapvane:: DESTINATION ${vane_interface_packagedir})

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/vane-interface-config.cmake.in
    ${PROJECT_BINARY_DIR}/vane-interface-config.cmake
    INSTALL_DESTINATION ${vane_interface_packagedir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vane-interface-config-version.cmake
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(FILES
    ${PROJECT_BINARY_DIR}/vane-interface-config.cmake
    ${PROJECT_BINARY_DIR}/vane-interface-config-version.cmake
    DESTINATION ${vane_interface_packagedir})
