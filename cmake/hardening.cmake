# Protections in what is built here, against mistakes in memory: as many of them as the compiler, the
# linker and the machine have. docs/security.md says what each is for.
#
# A static library brings those that are in its objects. How a client links its program is the
# client's own choice: no option of the linker is handed on.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
include(CheckPIESupported)

option(VELPROXY_HARDENING "Protect programs and libraries against mistakes in memory" ON)
option(VELPROXY_CFI "Check indirect calls: clang++ with lld, for the whole program" OFF)

# What sources are compiled with, optimized ones as well, and programs linked with; for the tests, too.
set(VELPROXY_HARDENED_COMPILING "")
set(VELPROXY_HARDENED_OPTIMIZED "")
set(VELPROXY_HARDENED_LINKING "")

# Programs at random addresses. Without the check CMake compiles for it, and leaves the rest to the
# linker. With a sanitizer, a program would relocate hundreds of thousands of pointers in its descriptions of
# the code whenever it starts.
if(VELPROXY_SANITIZE)
  add_link_options("$<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-no-pie>")
else()
  check_pie_supported(LANGUAGES CXX)
endif()

# Sanitizers have checks of their own.
if(VELPROXY_HARDENING AND NOT VELPROXY_SANITIZE)
  # A flag without an effect, on which clang warns, is none.
  set(CMAKE_REQUIRED_FLAGS -Werror)
  foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "VELPROXY_HAS${flag}" has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
      list(APPEND VELPROXY_HARDENED_COMPILING ${flag})
    endif()
  endforeach()
  unset(CMAKE_REQUIRED_FLAGS)

  # The checks of sizes need the optimizer. Some compilers define a level themselves.
  set(source "#include <cstring>
              #if __USE_FORTIFY_LEVEL < WANTED
              #error less
              #endif
              int main() {}")
  foreach(level 3 2)
    set(flags -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${level})
    string(REPLACE WANTED ${level} checked "${source}")
    string(JOIN " " CMAKE_REQUIRED_FLAGS -O2 ${flags})
    check_cxx_source_compiles("${checked}" VELPROXY_HAS_FORTIFY_${level})
    unset(CMAKE_REQUIRED_FLAGS)
    if(VELPROXY_HAS_FORTIFY_${level})
      set(VELPROXY_HARDENED_OPTIMIZED ${flags})
      break()
    endif()
  endforeach()

  # Tables of addresses that nobody can write once the program runs, and a stack that is no code.
  # macOS has both in any case.
  if(CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
    foreach(word relro now noexecstack)
      check_linker_flag(CXX LINKER:-z,${word} VELPROXY_HAS_LINKER_${word})
      if(VELPROXY_HAS_LINKER_${word})
        list(APPEND VELPROXY_HARDENED_LINKING LINKER:-z,${word})
      endif()
    endforeach()
  endif()
endif()

# Programs to debug are compiled as often as possible, and run by nobody else.
if(VELPROXY_HARDENED_COMPILING)
  target_compile_options(velproxy_options
                         INTERFACE "$<$<NOT:$<CONFIG:Debug>>:${VELPROXY_HARDENED_COMPILING}>")
endif()
if(VELPROXY_HARDENED_OPTIMIZED)
  target_compile_options(
    velproxy_options
    INTERFACE "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${VELPROXY_HARDENED_OPTIMIZED}>")
endif()
add_link_options(${VELPROXY_HARDENED_LINKING})

# The optimizer must see every object, so the third-party code that is built here too. The check of
# casts to unrelated types is left out: std::make_shared makes them, before there is an object.
if(VELPROXY_CFI)
  add_compile_options(-flto=thin -fvisibility=hidden -fsanitize=cfi
                      -fno-sanitize=cfi-unrelated-cast)
  add_link_options(-flto=thin -fsanitize=cfi -fno-sanitize=cfi-unrelated-cast -fuse-ld=lld)
endif()
