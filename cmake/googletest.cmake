# GoogleTest, built from Debian's source package so that it has the same standard library and
# sanitizers as the code under test; an installed copy elsewhere.

if(EXISTS /usr/src/googletest/CMakeLists.txt)
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
else()
  find_package(GTest REQUIRED)
endif()

# Registers a test program with ctest as one test, because starting a process for each of its tests
# takes longer than most of them. The results of the single tests go to test-results/ in the build tree. Further arguments are the
# program's.
function(velproxy_add_tests program)
  add_test(NAME ${program} COMMAND ${program} ${ARGN}
           --gtest_output=xml:${velproxy_BINARY_DIR}/test-results/${program}.xml)
  # Generous: a slow machine may be busy with other programs.
  set_tests_properties(${program} PROPERTIES TIMEOUT 600)
endfunction()
