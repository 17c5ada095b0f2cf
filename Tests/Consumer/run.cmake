# cmake -D BUILD=... -D WORK=... -D SOURCE=... -D CXX=... -D GENERATOR=...
#       [-D FLAGS=...] -P run.cmake
# Installs the build tree, then builds and runs the stranger's project against it.

function(step)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed: ${ARGN}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
step(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/install)
step(${CMAKE_COMMAND} -G ${GENERATOR} -S ${SOURCE} -B ${WORK}/build
    -DCMAKE_PREFIX_PATH=${WORK}/install -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${FLAGS}")
step(${CMAKE_COMMAND} --build ${WORK}/build)
step(${WORK}/build/consumer)
