# For tests of clients: gives a target the header vel/apps/local/velsim/testing/velsim_process.h and
# the path of velsim, and builds velsim before the target. Needs the programs:
# VELPROXY_BUILD_PROGRAMS.
function(velproxy_velsim_test target)
  if(NOT TARGET velsim)
    message(FATAL_ERROR "velproxy_velsim_test(${target}) needs velsim: set VELPROXY_BUILD_PROGRAMS to ON")
  endif()
  find_package(Threads REQUIRED)
  target_include_directories(${target} PUBLIC ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/..)
  target_compile_definitions(${target} PUBLIC VELSIM_PATH="$<TARGET_FILE:velsim>")
  target_link_libraries(${target} PUBLIC Threads::Threads)
  add_dependencies(${target} velsim)
endfunction()
