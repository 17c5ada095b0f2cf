# What is different where the target is Windows and the compiler GCC (MinGW-w64).

# One folder for programs and libraries: that is where Windows looks for the latter.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

# The compiler's run times, which go along with the libraries: exceptions and strings pass
# between these and the host, so all take the same ones. See Docs/Platforms.md.
set(DP_RUN_TIMES "")
foreach(name libstdc++-6 libgcc_s_seh-1 libwinpthread-1)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}.dll
        OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT EXISTS "${file}")
        set(file "/usr/x86_64-w64-mingw32/lib/${name}.dll")
    endif()
    if(NOT EXISTS "${file}")
        message(FATAL_ERROR "${name}.dll was not found beside ${CMAKE_CXX_COMPILER}")
    endif()
    list(APPEND DP_RUN_TIMES "${file}")
endforeach()
file(COPY ${DP_RUN_TIMES} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})

execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libssp.a
    OUTPUT_VARIABLE DP_STACK_PROTECTOR OUTPUT_STRIP_TRAILING_WHITESPACE)
