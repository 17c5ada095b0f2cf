# dp_lapack: the reference LAPACK and BLAS, linked statically with hidden symbols.
#
# What stands behind the system's shared liblapack is each machine's choice: it changes
# the last bits of results and may start threads when it loads. DP_SHARED_LAPACK takes it
# all the same, for those who know which one they have.

add_library(dp_lapack INTERFACE)
if(DP_SHARED_LAPACK)
    find_library(DP_LAPACK_SHARED lapack REQUIRED)
    target_link_libraries(dp_lapack INTERFACE ${DP_LAPACK_SHARED})
else()
    find_library(DP_LAPACK_STATIC liblapack.a REQUIRED
                 PATH_SUFFIXES lapack "${CMAKE_LIBRARY_ARCHITECTURE}/lapack")
    find_library(DP_BLAS_STATIC libblas.a REQUIRED
                 PATH_SUFFIXES blas "${CMAKE_LIBRARY_ARCHITECTURE}/blas")
    # The Fortran run time is the compiler's own, and shared like those of C and C++.
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libgfortran.so
        OUTPUT_VARIABLE gfortran OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(EXISTS "${gfortran}")
        set(DP_GFORTRAN "${gfortran}" CACHE FILEPATH "The Fortran run time")
    endif()
    if(NOT DP_GFORTRAN)
        message(FATAL_ERROR "The Fortran run time (libgfortran) was not found")
    endif()
    target_link_libraries(dp_lapack INTERFACE
        ${DP_LAPACK_STATIC} ${DP_BLAS_STATIC} ${DP_GFORTRAN})
    # By name: the run times of Clang's sanitizers are archives too, and have to be seen.
    get_filename_component(lapack ${DP_LAPACK_STATIC} NAME)
    get_filename_component(blas ${DP_BLAS_STATIC} NAME)
    target_link_options(dp_lapack INTERFACE "LINKER:--exclude-libs,${lapack}:${blas}")
endif()
