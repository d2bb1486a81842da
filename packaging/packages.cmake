# cpack: packages for Debian, one for each component of cmake --install.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velproxy)
set(CPACK_PACKAGE_VENDOR "The velproxy developers")
set(CPACK_PACKAGE_CONTACT "The velproxy developers <developers@velproxy.example>")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(VELPROXY_BUILD_PROGRAMS)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Dependencies come from the files themselves; the libraries of the runtime package are among ours.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/vel/apps/local/velproxy)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# package NAME, its section, and what it is: the first line of the description, and the rest.
function(describe component name section summary text)
  string(TOUPPER ${component} COMPONENT)
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_COMPONENT_${COMPONENT}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
endfunction()
set(runtime_package libvelproxy${PROJECT_VERSION_MAJOR})
describe(runtime ${runtime_package} libs "client library of the peripheral-device service"
"Lets a desktop client manage printers, USB devices, pens and joysticks of
its machine for remote virtual machines. The service of the machine does the
work; this is how a client asks for it.")
describe(development libvelproxy-dev libdevel
  "client library of the peripheral-device service, to develop with"
"Headers, archives and the packages of CMake and pkg-config. The headers of
vel::Client are for C++17 and later.")
describe(tools velproxy-tools utils "simulated peripheral-device service, and a command line"
"velsim takes the place of the service on a machine without devices. velctl
calls every operation of the service from the command line, and finds out why
one does not work.")
# In place of scripts that call ldconfig.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${runtime_package} (= ${PROJECT_VERSION}-1), libexpected-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS libvelproxy-dev)

# What Debian wants of each package beside its files.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/prepare_package.cmake)
set(CPACK_VELPROXY_COPYRIGHT ${CMAKE_CURRENT_LIST_DIR}/copyright)
set(CPACK_VELPROXY_BUILD_FOLDER ${PROJECT_BINARY_DIR})
set(CPACK_VELPROXY_MAN_FOLDER ${CMAKE_INSTALL_MANDIR})

include(CPack)
