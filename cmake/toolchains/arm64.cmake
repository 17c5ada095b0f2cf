# A cross build for 64-bit ARM with Debian's compilers. DP_ARM64_LAPACK names a folder with
# liblapack.a and libblas.a of that architecture; `Tools/digests` fetches them.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)
set(DP_LAPACK_STATIC "${DP_ARM64_LAPACK}/lapack/liblapack.a" CACHE FILEPATH "")
set(DP_BLAS_STATIC "${DP_ARM64_LAPACK}/blas/libblas.a" CACHE FILEPATH "")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES DP_ARM64_LAPACK)
