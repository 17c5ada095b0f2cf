# cmake -D WAY=package|pkgconfig|subproject -D REPOSITORY=... -D BUILD=... -D WORK=...
#       -D LIBDIR=... -D CXX=... -D GENERATOR=... [-D FLAGS=...]
#       [-D TOOLCHAIN=... -D EMULATOR=...] -P run.cmake
# Builds and runs the stranger's project: against an install of the build tree, found by
# CMake's package file or by pkg-config, or with the repository as a part of it.

function(step)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed: ${ARGN}")
    endif()
endfunction()

set(source ${CMAKE_CURRENT_LIST_DIR})
set(configure ${CMAKE_COMMAND} -G ${GENERATOR} -B ${WORK}/build -DCMAKE_CXX_COMPILER=${CXX})
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/build)
if(TOOLCHAIN)  # which knows the compiler, and looks for packages in roots of its own alone
    file(WRITE ${WORK}/toolchain.cmake
        "include(${TOOLCHAIN})\nlist(APPEND CMAKE_FIND_ROOT_PATH ${WORK}/install)\n")
    set(configure ${CMAKE_COMMAND} -G ${GENERATOR} -B ${WORK}/build
        --toolchain ${WORK}/toolchain.cmake)
    set(ENV{WINEPATH} ${WORK}/install/bin)  # Windows looks for libraries along a path
endif()
if(NOT WAY STREQUAL "subproject")
    foreach(component runtime development)
        step(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/install
            --component ${component})
    endforeach()
    file(GLOB_RECURSE notices ${WORK}/install/THIRD-PARTY.md)
    if(NOT notices)
        message(FATAL_ERROR "installed without the notices of what the libraries hold")
    endif()
endif()

if(WAY STREQUAL "package")
    step(${configure} -S ${source} -DCMAKE_PREFIX_PATH=${WORK}/install
        "-DCMAKE_CXX_FLAGS=${FLAGS}")
    step(${CMAKE_COMMAND} --build ${WORK}/build)
elseif(WAY STREQUAL "pkgconfig")
    set(ENV{PKG_CONFIG_LIBDIR} ${WORK}/install/${LIBDIR}/pkgconfig)
    set(ENV{LD_LIBRARY_PATH} ${WORK}/install/${LIBDIR})
    step(make all -C ${WORK}/build -f ${source}/Makefile VPATH=${source} CXX=${CXX}
        "CXXFLAGS=${FLAGS}")
else()
    cmake_host_system_information(RESULT cores QUERY NUMBER_OF_LOGICAL_CORES)
    step(${configure} -S ${source}/Subproject -DREPOSITORY=${REPOSITORY}
        -DCMAKE_CXX_FLAGS=-O0)
    step(${CMAKE_COMMAND} --build ${WORK}/build --parallel ${cores})
endif()
foreach(program consumer client_consumer)
    file(GLOB file ${WORK}/build/${program} ${WORK}/build/${program}.exe)
    step(${EMULATOR} ${file})
endforeach()
