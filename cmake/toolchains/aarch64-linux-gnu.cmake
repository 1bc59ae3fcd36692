# Example toolchain file for a 64-bit ARM router. Use with
#   cmake -S . -B build/arm64 -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/aarch64-linux-gnu.cmake \
#         -DDPIWRAPPER_BUILD_TESTS=OFF -DDPIWRAPPER_BUILD_TOOLS=OFF
# The sysroot must hold jansson's headers, library and jansson.pc.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
if(DEFINED ENV{SYSROOT})
  set(CMAKE_SYSROOT $ENV{SYSROOT})
  set(ENV{PKG_CONFIG_SYSROOT_DIR} $ENV{SYSROOT})
  set(ENV{PKG_CONFIG_LIBDIR} "$ENV{SYSROOT}/usr/lib/pkgconfig:$ENV{SYSROOT}/usr/share/pkgconfig")
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
