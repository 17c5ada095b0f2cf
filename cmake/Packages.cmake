# Debian packages, one for each component of the installation: libdescriptor0,
# libdescriptor-dev, descriptor-tools, mlt-descriptor, and libdescriptor-doc with the site of the target
# `docs`. `Tools/package` configures, builds and checks them.
#
# They are made for the prefix /usr: the libraries lie where the system looks, so nothing
# carries a search path of its own.

if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    message(FATAL_ERROR "DP_DEBIAN_PACKAGES needs CMAKE_INSTALL_PREFIX=/usr")
endif()
set(DP_MAINTAINER "Descriptor Team <team@descriptor.invalid>" CACHE STRING
    "Who answers for the packages")
set(DP_DEBIAN_REVISION 1 CACHE STRING "Revision of the packages")

# Both libraries change together: one package, named after the one that hosts link.
set(runtime libdescriptor${PROJECT_VERSION_MAJOR})
set(development libdescriptor-dev)
set(tools descriptor-tools)
set(documentation libdescriptor-doc)
set(components runtime development)
if(TARGET descriptor-host)
    list(APPEND components tools)
endif()
set(python python3-descriptor)
if(TARGET python_core)
    list(APPEND components python)
endif()
set(mlt mlt-descriptor)
if(TARGET mltdescriptor)
    list(APPEND components mlt)
endif()
if(TARGET docs)
    list(APPEND components documentation)
    install(DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/site/html
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${documentation} COMPONENT documentation)
    install(FILES cmake/debian/documentation.doc-base
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc-base RENAME ${documentation}
        COMPONENT documentation)
endif()
set(debian_version ${PROJECT_VERSION}-${DP_DEBIAN_REVISION})

# What policy wants beside the files: a copyright and packed changelogs.
string(TIMESTAMP DP_DEBIAN_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian/changelog.in ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian @ONLY)
configure_file(CHANGELOG.md ${CMAKE_CURRENT_BINARY_DIR}/changelog COPYONLY)
find_program(DP_GZIP gzip REQUIRED)
foreach(name changelog.Debian changelog)
    execute_process(COMMAND ${DP_GZIP} -9nf ${CMAKE_CURRENT_BINARY_DIR}/${name}
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()
foreach(component IN LISTS components)
    install(FILES cmake/debian/copyright THIRD-PARTY.md
        ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${${component}} COMPONENT ${component})
    install(FILES cmake/debian/${component}.lintian
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${${component}}
        COMPONENT ${component})
endforeach()
install(CODE "
    file(GLOB pages \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man1/*.1\")
    if(pages)
        execute_process(COMMAND ${DP_GZIP} -9nf \${pages} COMMAND_ERROR_IS_FATAL ANY)
    endif()" COMPONENT tools)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_CONTACT "${DP_MAINTAINER}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${DP_DEBIAN_REVISION})
set(CPACK_DEBIAN_PACKAGE_SOURCE descriptor)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(about
"Turns frames into descriptors (tracked points, a tracked rectangle, grey
images, pyramids, a foreground selection from strokes) for video editors.
Each is computed once and kept in a cache, and the same input gives the same
bits on every machine.
")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# What each function has been there since: `Tools/package` compares it with the libraries.
configure_file(cmake/debian/runtime.symbols ${CMAKE_CURRENT_BINARY_DIR}/symbols COPYONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/triggers ${CMAKE_CURRENT_BINARY_DIR}/symbols)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${about}
This package has the two shared libraries.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime} (= ${debian_version})")
# For descriptor/strokes_json.h, opencv.h and ffmpeg.h, each alone.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS
    "nlohmann-json3-dev, libopencv-dev, libavutil-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "${about}
This package has the headers, and the files for CMake and pkg-config.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${tools})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION video)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime} (= ${debian_version})")
# They draw the tables.
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "${python}, python3-matplotlib")
# Its own library is not installed while the packages are made.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${CMAKE_CURRENT_BINARY_DIR}/foundation ${CMAKE_CURRENT_BINARY_DIR}/Src)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "content descriptors of video frames - a program
${about}
This package has descriptor-host, which tries every kind on a video.")

# The module is for one version of Python, that of DP_PYTHON.
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME ${python})
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
math(EXPR next "${Python_VERSION_MINOR} + 1")
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${runtime} (= ${debian_version}), \
python3 (>= 3.${Python_VERSION_MINOR}), python3 (<< 3.${next}), python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-av, python3-matplotlib")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-distributed, python3-opencv, python3-pandas")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/python/postinst
    ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/python/prerm)
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "content descriptors of video frames - Python package
${about}
This package has the Python package descriptor: NumPy arrays in and out.")
set(CPACK_DEBIAN_MLT_PACKAGE_NAME ${mlt})
set(CPACK_DEBIAN_MLT_PACKAGE_SECTION video)
set(CPACK_DEBIAN_MLT_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_MLT_PACKAGE_DEPENDS "${runtime} (= ${debian_version})")
set(CPACK_DEBIAN_MLT_PACKAGE_ENHANCES "kdenlive, shotcut, melt")
set(CPACK_DEBIAN_MLT_DESCRIPTION "motion tracker for Kdenlive, Shotcut and melt
${about}
This package has filters for editors built on MLT: a motion tracker, point
tracks, and a cut-out by strokes.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME ${documentation})
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION "content descriptors of video frames - documentation
${about}
This package has the guide and the reference, as one site.")

include(CPack)
