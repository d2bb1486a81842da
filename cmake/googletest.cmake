# GoogleTest, built from Debian's source package so that it has the same standard library and
# sanitizers as the code under test; an installed copy elsewhere.

if(EXISTS /usr/src/googletest/CMakeLists.txt)
  set(INSTALL_GTEST OFF)
  set(gtest_disable_pthreads OFF)
  add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  add_library(GTest::gmock_main ALIAS gmock_main)
  add_library(GTest::gmock ALIAS gmock)
else()
  find_package(GTest REQUIRED)
endif()
include(GoogleTest)
