# cmake --install: what clients compile and link against, as the package velproxy of CMake and of
# pkg-config. The targets have the names of those that add_subdirectory gives.
#
# Components: runtime (the shared library), development (headers, archives and packages), tools
# (velctl and velsim).

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Includes are written as in the source tree, so the tree is below a folder of its own.
set(headers ${CMAKE_INSTALL_INCLUDEDIR}/velproxy)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/velproxy)

set_target_properties(velproxy_interface PROPERTIES EXPORT_NAME interface)
set_target_properties(velproxy_shared PROPERTIES EXPORT_NAME velproxy)
set_target_properties(velproxy_client PROPERTIES EXPORT_NAME client)
set_target_properties(velproxy_client_headers PROPERTIES EXPORT_NAME client_headers)
install(TARGETS velproxy_interface velproxy_shared velproxy_client velproxy_client_headers
        EXPORT velproxy
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
                COMPONENT runtime NAMELINK_COMPONENT development
        INCLUDES DESTINATION ${headers})

# For programs with a bus of their own, and for those that want one file: velproxy::library is the
# library alone, the others are what may stand behind it.
set_target_properties(velproxy PROPERTIES EXPORT_NAME library)
set_target_properties(velproxy_bus_dbus PROPERTIES EXPORT_NAME bus_dbus)
set_target_properties(velproxy_bus_transport PROPERTIES EXPORT_NAME bus_transport)
set_target_properties(velproxy_bus_wire PROPERTIES EXPORT_NAME bus_wire)
set_target_properties(velproxy_platform PROPERTIES EXPORT_NAME platform)
set_target_properties(velproxy_base PROPERTIES EXPORT_NAME base)
install(TARGETS velproxy velproxy_bus_dbus velproxy_bus_transport velproxy_bus_wire
                velproxy_platform velproxy_base
        EXPORT velproxy_archives
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)

# A header that another one includes belongs here too: the tests of the installed tree would not
# compile without it.
set(velproxy_headers
    base/result.h
    base/thread.h
    base/utf8.h
    bus/qxbus.h
    platform/app_data_path.h
    platform/log.h
    platform/monotonic_wait.h
    platform/mutex.h
    vel/apps/local/velproxy/callbacks.h
    vel/apps/local/velproxy/records.h
    vel/apps/local/velproxy/vel_error.h
    vel/apps/local/velproxy/vel_proxy.h)
foreach(header IN LISTS velproxy_headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${headers}/${folder} COMPONENT development)
endforeach()
install(DIRECTORY vel/client vel/protocol DESTINATION ${headers}/vel COMPONENT development
        FILES_MATCHING PATTERN *.h)

foreach(set velproxy velproxy_archives)
  install(EXPORT ${set} NAMESPACE velproxy:: FILE ${set}-targets.cmake DESTINATION ${package}
          COMPONENT development)
endforeach()
get_target_property(needed velproxy_client_headers INTERFACE_LINK_LIBRARIES)
if(tl::expected IN_LIST needed)
  set(VELPROXY_NEEDS_TL_EXPECTED TRUE)
endif()
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/velproxy-config.cmake.in
                              ${PROJECT_BINARY_DIR}/velproxy-config.cmake
                              INSTALL_DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/velproxy-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/velproxy-config.cmake
              ${PROJECT_BINARY_DIR}/velproxy-config-version.cmake
        DESTINATION ${package} COMPONENT development)

# The file says where it is in relation to itself, so that the tree can be moved.
file(RELATIVE_PATH VELPROXY_PREFIX_FROM_PC
     ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/velproxy.pc.in ${PROJECT_BINARY_DIR}/velproxy.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velproxy.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

# Removes the files of the last `cmake --install`.
if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall
    COMMAND ${CMAKE_COMMAND} -D MANIFESTS=${PROJECT_BINARY_DIR}
            -P ${CMAKE_CURRENT_LIST_DIR}/uninstall.cmake
    VERBATIM)
endif()
