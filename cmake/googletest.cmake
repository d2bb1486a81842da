# GoogleTest, built from Debian's source package so that it has the same standard library and
# sanitizers as the code under test; an installed copy elsewhere.

if(EXISTS /usr/src/googletest/CMakeLists.txt)
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
else()
  find_package(GTest REQUIRED)
endif()

# Registers a test program with ctest, as one test because starting a process for each of its tests
# takes longer than most of them. The results of the single tests go to test-results/ in the build
# tree.
#
#   velproxy_add_tests(PROGRAM [NAME name] [SHARDS number] [ENVIRONMENT variable=value...]
#                      [ARGUMENTS argument...] [LAUNCHER program argument...])
#
# SHARDS: as so many tests, name.1 and so on, which share the program's tests between them. For
# programs whose tests wait much: ./test runs more programs at once than there are processors.
# LAUNCHER: what starts the program.
#
# A program that is not built, see velproxy_leave_to_sanitizers, has no tests.
function(velproxy_add_tests program)
  get_target_property(is_left_out ${program} EXCLUDE_FROM_ALL)
  if(is_left_out)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 given "" "NAME;SHARDS" "ARGUMENTS;ENVIRONMENT;LAUNCHER")
  if(given_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "velproxy_add_tests(${program}): unknown ${given_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT given_NAME)
    set(given_NAME ${program})
  endif()
  if(NOT given_SHARDS)
    set(given_SHARDS 1)
  endif()
  foreach(shard RANGE 1 ${given_SHARDS})
    set(name ${given_NAME})
    set(environment ${given_ENVIRONMENT})
    if(given_SHARDS GREATER 1)
      string(APPEND name ".${shard}")
      math(EXPR index "${shard} - 1")
      list(APPEND environment GTEST_TOTAL_SHARDS=${given_SHARDS} GTEST_SHARD_INDEX=${index})
    endif()
    add_test(NAME ${name} COMMAND ${given_LAUNCHER} $<TARGET_FILE:${program}> ${given_ARGUMENTS}
             --gtest_output=xml:${velproxy_BINARY_DIR}/test-results/${name}.xml)
    # Generous: a slow machine may be busy with other programs.
    set_tests_properties(${name} PROPERTIES TIMEOUT 600 ENVIRONMENT "${environment}")
  endforeach()
endfunction()
