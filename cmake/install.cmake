# cmake --install: what clients compile and link against, as the package velproxy. Its targets have
# the names of those that add_subdirectory gives: velproxy::client and velproxy::velproxy.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Includes are written as in the source tree, so the tree is below a folder of its own.
set(headers ${CMAKE_INSTALL_INCLUDEDIR}/velproxy)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/velproxy)

set_target_properties(velproxy_client PROPERTIES EXPORT_NAME client)
set_target_properties(velproxy_client_headers PROPERTIES EXPORT_NAME client_headers)
set_target_properties(velproxy_complete PROPERTIES EXPORT_NAME velproxy)
set_target_properties(velproxy PROPERTIES EXPORT_NAME library)
set_target_properties(velproxy_bus_dbus PROPERTIES EXPORT_NAME bus_dbus)
set_target_properties(velproxy_bus_transport PROPERTIES EXPORT_NAME bus_transport)
set_target_properties(velproxy_bus_wire PROPERTIES EXPORT_NAME bus_wire)
set_target_properties(velproxy_platform PROPERTIES EXPORT_NAME platform)
set_target_properties(velproxy_base PROPERTIES EXPORT_NAME base)
install(TARGETS velproxy_client velproxy_client_headers velproxy_complete velproxy
                velproxy_bus_dbus velproxy_bus_transport velproxy_bus_wire velproxy_platform
                velproxy_base
        EXPORT velproxy
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${headers})

# A header that another one includes belongs here too: the tests of the installed tree would not
# compile without it.
set(velproxy_headers
    base/result.h
    base/thread.h
    base/utf8.h
    bus/qxbus.h
    platform/mutex.h
    vel/apps/local/velproxy/callbacks.h
    vel/apps/local/velproxy/records.h
    vel/apps/local/velproxy/vel_error.h
    vel/apps/local/velproxy/vel_proxy.h)
foreach(header IN LISTS velproxy_headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${headers}/${folder})
endforeach()
install(DIRECTORY vel/client vel/protocol DESTINATION ${headers}/vel FILES_MATCHING PATTERN *.h)

install(EXPORT velproxy NAMESPACE velproxy:: FILE velproxy-targets.cmake DESTINATION ${package})
get_target_property(needed velproxy_client_headers INTERFACE_LINK_LIBRARIES)
if(tl::expected IN_LIST needed)
  set(VELPROXY_NEEDS_TL_EXPECTED TRUE)
endif()
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/velproxy-config.cmake.in
                              ${PROJECT_BINARY_DIR}/velproxy-config.cmake
                              INSTALL_DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/velproxy-config-version.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/velproxy-config.cmake
              ${PROJECT_BINARY_DIR}/velproxy-config-version.cmake
        DESTINATION ${package})
