# docs: the reference of the public headers, in <build>/reference. The test of the same name
# fails where a public header leaves something undocumented, or says what is not there.

find_program(DP_DOXYGEN doxygen)
if(DP_DOXYGEN)
    set(reference ${CMAKE_CURRENT_BINARY_DIR}/reference)
    set(make_reference ${CMAKE_COMMAND} -E env
        DP_VERSION=${PROJECT_VERSION} DP_OUTPUT=${reference} ${DP_DOXYGEN} Docs/Doxyfile)
    file(MAKE_DIRECTORY ${reference})
    add_custom_target(docs COMMAND ${make_reference}
        WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} VERBATIM)
    if(DP_BUILD_TESTS)
        add_test(NAME docs COMMAND ${make_reference}
            WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
        set_tests_properties(docs PROPERTIES LABELS docs)
    endif()
endif()
