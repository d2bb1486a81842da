# Builds Mach-O on Linux, with the clang, the libc++ and the macOS headers of zig. scripts/build-macos
# sets the variables:
#
#   VELPROXY_MACOS_ARCH   x86_64 or arm64
#   VELPROXY_ZIG          the program zig
#   VELPROXY_MACOS_ROOT   headers and stubs of the other libraries, which it has put aside

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${VELPROXY_MACOS_ARCH})
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VELPROXY_MACOS_ARCH VELPROXY_ZIG VELPROXY_MACOS_ROOT)

# The least version: std::filesystem came with 10.15, and the first Mac with this processor with 11.0.
if(VELPROXY_MACOS_ARCH STREQUAL "x86_64")
  set(VELPROXY_MACOS_VERSION 10.15)
  set(CMAKE_SYSTEM_VERSION 19.0) # of the kernel
  set(CMAKE_CXX_COMPILER_TARGET x86_64-macos.${VELPROXY_MACOS_VERSION})
elseif(VELPROXY_MACOS_ARCH STREQUAL "arm64")
  set(VELPROXY_MACOS_VERSION 11.0)
  set(CMAKE_SYSTEM_VERSION 20.0)
  set(CMAKE_CXX_COMPILER_TARGET aarch64-macos.${VELPROXY_MACOS_VERSION})
else()
  message(FATAL_ERROR "VELPROXY_MACOS_ARCH is x86_64 or arm64, not \"${VELPROXY_MACOS_ARCH}\"")
endif()
set(CMAKE_CXX_COMPILER ${VELPROXY_ZIG})
set(CMAKE_CXX_COMPILER_ARG1 c++)
# The test that finds it fails, because zig knows no linker option -v.
set(CMAKE_SIZEOF_VOID_P 8)
# zig has the target in place of these options of Apple's compiler.
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_ARCHITECTURES "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "")

set(CMAKE_USER_MAKE_RULES_OVERRIDE_CXX ${CMAKE_CURRENT_LIST_DIR}/rules.cmake)
# zig knows no precompiled headers.
set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)

# Debian has all of LLVM's programs in one folder, and some of them elsewhere, too.
find_program(CMAKE_AR llvm-ar REQUIRED)
file(REAL_PATH ${CMAKE_AR} llvm)
get_filename_component(llvm ${llvm} DIRECTORY)
find_program(CMAKE_RANLIB llvm-ranlib HINTS ${llvm} REQUIRED)
find_program(CMAKE_NM llvm-nm HINTS ${llvm} REQUIRED)
find_program(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool HINTS ${llvm} REQUIRED)

# Nothing of this machine's libraries may come in.
set(CMAKE_FIND_ROOT_PATH ${VELPROXY_MACOS_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${VELPROXY_MACOS_ROOT}/lib/pkgconfig)
set(CMAKE_PROJECT_TOP_LEVEL_INCLUDES ${CMAKE_CURRENT_LIST_DIR}/packages.cmake)
