# dp_lapack: the reference LAPACK and BLAS, linked statically with hidden symbols.
#
# What stands behind the system's shared liblapack is each machine's choice: it changes
# the last bits of results and may start threads when it loads. DP_SHARED_LAPACK takes it
# all the same, for those who know which one they have.
#
# DP_LAPACK_SOURCE names a folder with the reference LAPACK's source, which is then compiled
# with the project's flags. A compiler for a processor with fused multiply-add would use that
# otherwise, as the system's own archives do there: with the source all machines give the
# same bits. It needs a Fortran compiler of the same family, and no Fortran run time.

set(DP_LAPACK_SOURCE "" CACHE PATH "Folder with the source of the reference LAPACK 3.11")
add_library(dp_lapack INTERFACE)
if(DP_LAPACK_SOURCE)
    if(DP_SHARED_LAPACK)
        message(FATAL_ERROR "DP_LAPACK_SOURCE and DP_SHARED_LAPACK are two answers to one question")
    endif()
    include(CheckLanguage)
    check_language(Fortran)
    if(NOT CMAKE_Fortran_COMPILER)
        message(FATAL_ERROR "DP_LAPACK_SOURCE needs a Fortran compiler, and none was found: "
            "install gfortran, or name one by -D CMAKE_Fortran_COMPILER=")
    endif()
    enable_language(Fortran)
    if(NOT CMAKE_Fortran_COMPILER_ID STREQUAL "GNU")
        message(FATAL_ERROR "DP_LAPACK_SOURCE is known to work with GNU Fortran only; "
            "${CMAKE_Fortran_COMPILER} is ${CMAKE_Fortran_COMPILER_ID}")
    endif()
    foreach(language CXX Fortran)
        execute_process(COMMAND ${CMAKE_${language}_COMPILER} -dumpmachine
            OUTPUT_VARIABLE machine_${language} OUTPUT_STRIP_TRAILING_WHITESPACE)
    endforeach()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT machine_CXX STREQUAL machine_Fortran)
        message(FATAL_ERROR "The Fortran compiler is for ${machine_Fortran}, the C++ compiler "
            "for ${machine_CXX}: name the right one by -D CMAKE_Fortran_COMPILER=")
    endif()
    # No run time of Fortran: see FortranRunTime.cpp.
    set(CMAKE_Fortran_IMPLICIT_LINK_LIBRARIES "")
    set(CMAKE_Fortran_IMPLICIT_LINK_DIRECTORIES "")
    target_link_libraries(dp_lapack INTERFACE dp_reference_lapack)
    target_link_options(dp_lapack INTERFACE
        "LINKER:--exclude-libs,$<TARGET_FILE_NAME:dp_reference_lapack>")
elseif(DP_SHARED_LAPACK)
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
add_subdirectory(External/lapack)
