# docs: the guide and the reference of the public headers as one site, in <build>/site/html.
# The test of the same name fails where a public header leaves something undocumented, or says
# what is not there, and where a link of the guide leads nowhere.

find_program(DP_DOXYGEN doxygen)
if(DP_DOXYGEN)
    set(site ${CMAKE_CURRENT_BINARY_DIR}/site)
    set(make_site ${CMAKE_COMMAND} -E env
        DP_VERSION=${PROJECT_VERSION} DP_OUTPUT=${site} ${DP_DOXYGEN} Docs/Doxyfile)
    file(MAKE_DIRECTORY ${site})
    add_custom_target(docs COMMAND ${make_site}
        WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} VERBATIM)
    if(DP_BUILD_TESTS)
        add_test(NAME docs COMMAND ${make_site}
            WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
        set_tests_properties(docs PROPERTIES LABELS docs)
    endif()
endif()
