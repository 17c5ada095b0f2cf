# What a cross build takes from this machine all the same: libraries that are headers alone,
# and GoogleTest's source, which Debian compiles for its own machines only.

# dp_take_headers(TARGET FOLDER)
#   The folder of the system's headers as a target, where it is there. Just the folder: what
#   lies beside it is this machine's.
function(dp_take_headers target folder)
    if(EXISTS /usr/include/${folder})
        set(include ${PROJECT_BINARY_DIR}/headers/${folder})
        file(MAKE_DIRECTORY ${include})
        file(CREATE_LINK /usr/include/${folder} ${include}/${folder} SYMBOLIC)
        add_library(${target} INTERFACE IMPORTED GLOBAL)
        target_include_directories(${target} SYSTEM INTERFACE ${include})
    endif()
endfunction()
dp_take_headers(nlohmann_json::nlohmann_json nlohmann)
dp_take_headers(CLI11::CLI11 CLI)

set(DP_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Source of GoogleTest")
if(DP_BUILD_TESTS)
    if(NOT EXISTS ${DP_GOOGLETEST_SOURCE}/CMakeLists.txt)
        message(FATAL_ERROR "The tests of a cross build need GoogleTest's source: install "
            "googletest, or name its folder by -D DP_GOOGLETEST_SOURCE=, or leave them out by "
            "-D DP_BUILD_TESTS=OFF")
    endif()
    set(INSTALL_GTEST OFF)
    add_subdirectory(${DP_GOOGLETEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
endif()
