# A cross build for 64-bit Windows with Debian's compilers (those whose threads are POSIX's:
# the others lack std::thread), run by Wine. `Tools/fetch-lapack` gets the source of LAPACK.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_Fortran_COMPILER x86_64-w64-mingw32-gfortran-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 $ENV{HOME}/.cache/descriptor/windows)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Wine's own messages are not the program's.
set(CMAKE_CROSSCOMPILING_EMULATOR env WINEDEBUG=-all wine)
# Not this machine's; Cairo is where `Tools/fetch-cairo` puts it.
set(ENV{PKG_CONFIG_LIBDIR}
    $ENV{HOME}/.cache/descriptor/windows/lib/pkgconfig:/usr/x86_64-w64-mingw32/lib/pkgconfig)
set(DP_LAPACK_SOURCE "$ENV{HOME}/.cache/descriptor/lapack-3.11.0" CACHE PATH "")
