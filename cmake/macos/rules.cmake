# On top of CMake's rules for this compiler. Every program of macOS is independent of its position;
# zig refuses the option.
set(CMAKE_CXX_COMPILE_OPTIONS_PIE "")

# zig's linker knows no list of exported symbols, so lld links the shared library, for macOS as zig
# describes it. The C++ library is on each Mac; there is no description of it here, so its symbols
# stay open, as those of Qt do.
set(target ${VELPROXY_MACOS_ARCH}-apple-macos${VELPROXY_MACOS_VERSION})
get_filename_component(folder ${VELPROXY_ZIG} DIRECTORY)
string(JOIN " " CMAKE_CXX_CREATE_SHARED_LIBRARY
  "clang++ --target=${target} -fuse-ld=lld -nostdlib <CMAKE_SHARED_LIBRARY_CREATE_CXX_FLAGS> <LINK_FLAGS>"
  "-o <TARGET> <SONAME_FLAG> <TARGET_INSTALLNAME_DIR><TARGET_SONAME> <OBJECTS> <LINK_LIBRARIES>"
  "-undefined dynamic_lookup ${folder}/lib/libc/darwin/libSystem.tbd")
