# What every file of the project is compiled with.
#
# -ffp-contract=off: both compilers fuse a product and a sum into one rounding where the
#   machine can; results would depend on the machine. No fast-math for the same reason.
# -fmacro-prefix-map: a report names its source file relative to the repository, on every
#   machine ("Src/APT/APTTracker.cpp").
#
# Against those who feed it: stack protectors, checked calls of the C library where a size is
# known (optimised builds only), marks for indirect jumps, and relocations that are done on
# loading and read-only from then on. Sanitizers check more, and go without. No result
# changes by it, and no time that can be measured; the test `hardening` reads the binaries.
#
# Windows: the stack is aligned to 16 bytes there and GCC moves 32 at a time to it as if it were
# aligned to 32, so the assembler is told to write the moves that need no alignment; they take
# the same time. What the stack protectors call is linked from the archive.

include(CheckCXXCompilerFlag)
if(MINGW)
    include(cmake/Windows.cmake)
endif()
check_cxx_compiler_flag(-fcf-protection=full DP_HAVE_CF_PROTECTION)
add_library(dp_flags INTERFACE)
target_compile_features(dp_flags INTERFACE cxx_std_20)
target_compile_options(dp_flags INTERFACE
    -ffp-contract=off
    $<$<NOT:$<BOOL:${DP_SHARED_INSIDES}>>:-fvisibility=hidden;-fvisibility-inlines-hidden>
    "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/="
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion)
if(NOT DP_SANITIZE)
    target_compile_options(dp_flags INTERFACE
        -fstack-protector-strong $<$<BOOL:${DP_HAVE_CF_PROTECTION}>:-fcf-protection=full>
        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
    if(MINGW)
        target_link_libraries(dp_flags INTERFACE ${DP_STACK_PROTECTOR})
    elseif(NOT APPLE)
        target_link_options(dp_flags INTERFACE LINKER:-z,relro LINKER:-z,now)
    endif()
endif()
if(MINGW)
    target_compile_options(dp_flags INTERFACE -Wa,-muse-unaligned-vector-move)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(dp_flags INTERFACE -Wthread-safety)  # quillet/ThreadAnnotations.h
endif()
if(DP_WARNINGS_AS_ERRORS)
    target_compile_options(dp_flags INTERFACE -Werror)
endif()
if(DP_SANITIZE)
    target_compile_options(dp_flags INTERFACE
        "-fsanitize=${DP_SANITIZE}" -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(dp_flags INTERFACE "-fsanitize=${DP_SANITIZE}")
endif()

set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_EXTENSIONS OFF)
find_package(Threads REQUIRED)
