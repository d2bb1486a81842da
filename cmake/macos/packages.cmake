# What find_package() finds when macOS is the target: the headers that scripts/build-macos has put
# aside, and stubs of the libraries that are more than headers.

# Defines a target unless it is there.
function(velproxy_macos_target name)
  if(TARGET ${name})
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 given "" "" "INCLUDE;DEFINE;LINK")
  add_library(${name} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${name} SYSTEM INTERFACE ${VELPROXY_MACOS_ROOT}/include)
  foreach(folder IN LISTS given_INCLUDE)
    target_include_directories(${name} SYSTEM INTERFACE ${VELPROXY_MACOS_ROOT}/include/${folder})
  endforeach()
  target_compile_definitions(${name} INTERFACE ${given_DEFINE})
  target_link_libraries(${name} INTERFACE ${given_LINK})
endfunction()

# A macro, because find_package() leaves its results to its caller. Every other package is looked for
# as usual.
macro(velproxy_macos_package method package)
  set(${package}_FOUND TRUE)
  if("${package}" STREQUAL Qt5)
    velproxy_macos_target(Qt5::Core INCLUDE qt5 qt5/QtCore)
    velproxy_macos_target(Qt5::Gui INCLUDE qt5/QtGui
                                   LINK Qt5::Core ${VELPROXY_MACOS_ROOT}/lib/libQt5Gui.tbd)
  elseif("${package}" STREQUAL fmt)
    velproxy_macos_target(fmt::fmt-header-only DEFINE FMT_HEADER_ONLY=1)
  elseif("${package}" STREQUAL spdlog)
    velproxy_macos_target(fmt::fmt-header-only DEFINE FMT_HEADER_ONLY=1)
    velproxy_macos_target(spdlog::spdlog_header_only DEFINE SPDLOG_FMT_EXTERNAL
                                                     LINK fmt::fmt-header-only)
  elseif("${package}" STREQUAL CLI11)
    velproxy_macos_target(CLI11::CLI11)
  elseif("${package}" STREQUAL nlohmann_json)
    velproxy_macos_target(nlohmann_json::nlohmann_json)
  elseif("${package}" STREQUAL tl-expected)
    velproxy_macos_target(tl::expected)
  else()
    unset(${package}_FOUND)
  endif()
endmacro()

cmake_language(SET_DEPENDENCY_PROVIDER velproxy_macos_package SUPPORTED_METHODS FIND_PACKAGE)
