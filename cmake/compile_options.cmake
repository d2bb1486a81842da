# The compiler options of every target of this project, which links velproxy_options privately.

add_library(velproxy_options INTERFACE)
target_include_directories(velproxy_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(velproxy_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                                                  $<$<BOOL:${VELPROXY_WERROR}>:-Werror>)
# The check of mutexes, the data they guard and their order: see platform/mutex.h.
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  target_compile_options(velproxy_options INTERFACE -Wthread-safety -Wthread-safety-beta)
endif()

# Functions that the least version of macOS lacks.
if(APPLE)
  target_compile_options(velproxy_options INTERFACE -Wunguarded-availability)
endif()

# A faster linker, where there is one, for what nobody installs.
if(PROJECT_IS_TOP_LEVEL AND CMAKE_BUILD_TYPE STREQUAL "Debug")
  include(CheckLinkerFlag)
  check_linker_flag(CXX -fuse-ld=lld VELPROXY_HAS_LLD)
  if(VELPROXY_HAS_LLD)
    add_link_options(-fuse-ld=lld)
  endif()
endif()

# Sanitizers and coverage change code generation, so third-party code built here needs them too.
if(VELPROXY_SANITIZE)
  add_compile_options(-fsanitize=${VELPROXY_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VELPROXY_SANITIZE})
  # The standard library checks its arguments itself.
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  # A third of the code would be checks inside other projects' templates.
  if(CMAKE_CXX_COMPILER_ID MATCHES Clang AND VELPROXY_SANITIZE MATCHES undefined)
    add_compile_options(-fsanitize-ignorelist=${CMAKE_CURRENT_LIST_DIR}/sanitizer_ignore.txt)
  endif()
endif()
if(VELPROXY_COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "VELPROXY_COVERAGE needs clang++")
  endif()
  # The last option lets a process that is killed leave its counters: scripts/coverage maps them to a
  # file.
  target_compile_options(velproxy_options INTERFACE
    -fprofile-instr-generate -fcoverage-mapping -fprofile-update=atomic
    "SHELL:-mllvm -runtime-counter-relocation")
  add_link_options(-fprofile-instr-generate)
endif()
