# The only helpers of the build.

# dp_show_exports_only(TARGET)
#   A shared library that shows the functions of cmake/Exports.txt and nothing else: not what
#   a template of the standard library leaves behind, nor LAPACK.
function(dp_show_exports_only target)
    set(names_file ${PROJECT_SOURCE_DIR}/cmake/Exports.txt)
    file(STRINGS ${names_file} names REGEX "^[^#]")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${names_file})
    if(MINGW)
        list(JOIN names "\n    " text)
        set(list ${PROJECT_BINARY_DIR}/Exports.def)
        file(GENERATE OUTPUT ${list} CONTENT "EXPORTS\n    ${text}\n")
        target_link_options(${target} PRIVATE ${list})
        set_target_properties(${target} PROPERTIES PREFIX "" IMPORT_PREFIX "lib")
    elseif(APPLE)
        list(TRANSFORM names PREPEND "_")
        list(JOIN names "\n" text)
        set(list ${PROJECT_BINARY_DIR}/Exports.list)
        file(GENERATE OUTPUT ${list} CONTENT "${text}\n")
        target_link_options(${target} PRIVATE "LINKER:-exported_symbols_list,${list}")
    else()
        set(list ${PROJECT_SOURCE_DIR}/cmake/Exports.map)
        target_link_options(${target} PRIVATE "LINKER:--version-script=${list}")
    endif()
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${list})
endfunction()

# dp_add_module(NAME [USES MODULE ...] [HEADERS FILE ...] [SOURCES ...])
#   One folder of a layer as object files, compiled once: the shared library `descriptor`
#   and the static `descriptor_internal` (for tests and benchmarks of what is inside) are
#   made from the same objects. Without SOURCES it is headers alone.
#
#   USES is the one table of the layers. A module sees the headers of the modules that it
#   uses, and of those that they use; foundation is everybody's. The include paths come of
#   it, and the test `includes` holds every file to it. A header belongs to the source of its
#   name; HEADERS lists the others, by name or pattern.
set_property(GLOBAL PROPERTY DP_MODULES "")
function(dp_add_module name)
    cmake_parse_arguments(arg "" "" "USES;HEADERS;SOURCES" ${ARGN})
    dp_enter_module(${name} USES ${arg_USES} FILES ${arg_HEADERS} ${arg_SOURCES})
    if(arg_SOURCES)
        add_library(${name} OBJECT ${arg_SOURCES})
        target_link_libraries(${name} PRIVATE dp_flags)
        set_property(GLOBAL APPEND PROPERTY DP_MODULES ${name})
        set(scope PUBLIC)
    else()
        add_library(${name} INTERFACE)
        set(scope INTERFACE)
    endif()
    target_link_libraries(${name} ${scope} foundation ${arg_USES})
    target_include_directories(${name} ${scope} ${PROJECT_SOURCE_DIR})
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME folder)
    if(folder MATCHES "^(Src|Inc)$")  # others are named by their path from the top
        target_include_directories(${name} ${scope} ${CMAKE_CURRENT_SOURCE_DIR})
    endif()
endfunction()

# dp_enter_module(NAME [USES MODULE ...] FILES ...)
#   Enters a module into the table alone, or further files of one that is there.
#   dp_write_modules(FILE) writes the table.
set_property(GLOBAL PROPERTY DP_TABLE "")
function(dp_enter_module name)
    cmake_parse_arguments(arg "" "" "USES;FILES" ${ARGN})
    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR}
        OUTPUT_VARIABLE folder)
    list(TRANSFORM arg_FILES PREPEND ${folder}/)
    get_property(names GLOBAL PROPERTY DP_TABLE)
    if(NOT name IN_LIST names)
        set_property(GLOBAL APPEND PROPERTY DP_TABLE ${name})
    endif()
    set_property(GLOBAL APPEND PROPERTY DP_USES_${name} ${arg_USES})
    set_property(GLOBAL APPEND PROPERTY DP_FILES_${name} ${arg_FILES})
endfunction()
function(dp_write_modules file)
    get_property(names GLOBAL PROPERTY DP_TABLE)
    set(lines "")
    foreach(name IN LISTS names)
        get_property(uses GLOBAL PROPERTY DP_USES_${name})
        get_property(files GLOBAL PROPERTY DP_FILES_${name})
        string(APPEND lines "${name}|${uses}|${files}\n")
    endforeach()
    file(WRITE ${file} "${lines}")
endfunction()

# dp_add_x86(MODULE NAME FLAGS SOURCES)
#   Files of a module with flags of their own, on machines that may have that instruction
#   set. What they hold is chosen at run time, by code that asks DP_HAVE_<NAME> whether it
#   was built.
function(dp_add_x86 module name flags)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
        target_sources(${module} PRIVATE ${ARGN})
        dp_enter_module(${module} FILES ${ARGN})
        set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "${flags}")
        target_compile_definitions(${module} PRIVATE DP_HAVE_${name})
    endif()
endfunction()

# dp_add_test(NAME LABEL label SOURCES ... [LIBRARIES ...] [SHARED] [NOT_ON_WINDOWS reason])
#   A GoogleTest program. It links the insides, or with SHARED the library as a host does:
#   never both, since each copy has its own singletons.
function(dp_add_test name)
    cmake_parse_arguments(arg "SHARED" "LABEL;TIMEOUT;NOT_ON_WINDOWS" "SOURCES;LIBRARIES" ${ARGN})
    if(WIN32 AND arg_NOT_ON_WINDOWS)
        message(STATUS "Left out on Windows: ${name} (${arg_NOT_ON_WINDOWS})")
        return()
    endif()
    add_executable(${name} ${arg_SOURCES})
    set(library descriptor_internal)
    if(arg_SHARED)
        set(library descriptor)
    endif()
    target_link_libraries(${name} PRIVATE
        dp_flags ${library} ${arg_LIBRARIES} test_support GTest::gmock GTest::gtest_main)
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 300)
    endif()
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES LABELS ${arg_LABEL} TIMEOUT ${arg_TIMEOUT})
endfunction()

# dp_add_headers_alone(NAME HEADERS ... LIBRARIES ...)
#   A source for each header, which includes nothing else.
function(dp_add_headers_alone name)
    cmake_parse_arguments(arg "" "" "HEADERS;LIBRARIES" ${ARGN})
    foreach(header IN LISTS arg_HEADERS)
        string(MAKE_C_IDENTIFIER ${header} source)
        set(source ${CMAKE_CURRENT_BINARY_DIR}/headers/${source}.cpp)
        file(GENERATE OUTPUT ${source} CONTENT "#include \"${header}\"\n")
        list(APPEND sources ${source})
    endforeach()
    add_library(${name} OBJECT ${sources})
    target_link_libraries(${name} PRIVATE dp_flags ${arg_LIBRARIES})
endfunction()

# dp_add_benchmark(NAME SOURCES ... [LIBRARIES ...] [SHARED])
#   A Google Benchmark program, which ctest runs briefly so that it cannot rot. SHARED is that
#   of dp_add_test.
function(dp_add_benchmark name)
    cmake_parse_arguments(arg "SHARED" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    set(library descriptor_internal)
    if(arg_SHARED)
        set(library descriptor)
    endif()
    target_link_libraries(${name} PRIVATE
        dp_flags ${library} ${arg_LIBRARIES} bench_support)
    if(DP_BUILD_TESTS)
        add_test(NAME smoke_${name} COMMAND ${name} --benchmark_min_time=0.001 --brief)
        set_tests_properties(smoke_${name} PROPERTIES LABELS bench-smoke TIMEOUT 600)
    endif()
endfunction()

# dp_add_fuzzer(NAME [SHARED] [FROM FILE] [DEFINITIONS ...])
#   Fuzz/NAME.cpp, or FILE.cpp, with the corpus Fuzz/corpus/NAME. Everywhere ctest replays the corpus; with
#   DP_BUILD_FUZZERS it is libFuzzer that does, and then goes on for some thousand inputs of
#   its own. SHARED is that of dp_add_test.
function(dp_add_fuzzer name)
    cmake_parse_arguments(arg "SHARED" "FROM" "DEFINITIONS" ${ARGN})
    set(library descriptor_internal)
    if(arg_SHARED)
        set(library descriptor)
    endif()
    if(NOT arg_FROM)
        set(arg_FROM ${name})
    endif()
    set(corpus ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
    add_executable(fuzz_${name} ${arg_FROM}.cpp)
    target_compile_definitions(fuzz_${name} PRIVATE ${arg_DEFINITIONS})
    target_link_libraries(fuzz_${name} PRIVATE dp_flags ${library} fuzz_support)
    if(DP_BUILD_FUZZERS)
        target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
        # Its own branches, those of a model above all, are nothing to explore, and a list of
        # what is not to be explored has no meaning then.
        set_source_files_properties(${arg_FROM}.cpp PROPERTIES COMPILE_OPTIONS
            "-fno-sanitize=fuzzer-no-link;-Wno-unused-command-line-argument")
        set(found ${CMAKE_CURRENT_BINARY_DIR}/found/${name})
        file(MAKE_DIRECTORY ${found})
        add_test(NAME fuzz_${name} COMMAND fuzz_${name} -seed=1 -runs=2000 -timeout=20
            -artifact_prefix=${found}- ${found} ${corpus})
    else()
        target_sources(fuzz_${name} PRIVATE ReplayMain.cpp)
        add_test(NAME fuzz_${name} COMMAND fuzz_${name} ${corpus})
    endif()
    set_tests_properties(fuzz_${name} PROPERTIES LABELS fuzz TIMEOUT 600)
endfunction()
