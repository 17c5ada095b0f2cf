# A cross build for 64-bit ARM with Debian's compilers, run by QEMU. `Tools/fetch-lapack` gets
# the source of LAPACK.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_Fortran_COMPILER aarch64-linux-gnu-gfortran)
find_program(DP_QEMU NAMES qemu-aarch64 qemu-aarch64-static)
set(CMAKE_CROSSCOMPILING_EMULATOR ${DP_QEMU} -L /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} /usr/aarch64-linux-gnu/lib/pkgconfig)  # and not this machine's
set(DP_LAPACK_SOURCE "$ENV{HOME}/.cache/descriptor/lapack-3.11.0" CACHE PATH "")
