# Installation, in three components:
#
#   runtime      both shared libraries, and the notices of what they hold of others
#   development  the public headers and those of the client layer, the links to link against,
#                and the package files for find_package(descriptor) and for pkg-config
#   tools        the tool, where it is built, its manual page, and the same notices
#
# Targets: descriptor::client, descriptor::descriptor and descriptor::foundation.

include(CMakePackageConfigHelpers)
option(DP_DEBIAN_PACKAGES "Install as Debian's packages want it; see Tools/package" OFF)
if(NOT DP_DEBIAN_PACKAGES)  # a package has a folder of its own for them
    foreach(component runtime tools)
        install(FILES THIRD-PARTY.md DESTINATION ${CMAKE_INSTALL_DOCDIR}
            COMPONENT ${component})
    endforeach()
endif()

set(DP_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/descriptor)
set(DP_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/descriptor)

install(TARGETS foundation descriptor descriptor_client EXPORT descriptorTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT runtime NAMELINK_COMPONENT development
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime  # Windows: the library,
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)  # what is linked against
if(MINGW)
    install(FILES ${DP_RUN_TIMES} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()

install(DIRECTORY API/Inc/DP DESTINATION ${DP_HEADERS} COMPONENT development
    FILES_MATCHING PATTERN "*.h")
install(DIRECTORY foundation/TVK foundation/quillet foundation/platform
    DESTINATION ${DP_HEADERS} COMPONENT development FILES_MATCHING PATTERN "*.h"
    PATTERN "Object.h" EXCLUDE PATTERN "SingletonGuard.h" EXCLUDE PATTERN "MixHash.h" EXCLUDE
    PATTERN "Files.h" EXCLUDE PATTERN "Pages.h" EXCLUDE PATTERN "Processor.h" EXCLUDE
    PATTERN "StaticMutex.h" EXCLUDE PATTERN "platform/RecursiveMutex.h" EXCLUDE)
install(FILES image/IPImage.h DESTINATION ${DP_HEADERS}/image COMPONENT development)
install(DIRECTORY Client/Inc/descriptor DESTINATION ${DP_HEADERS} COMPONENT development
    FILES_MATCHING PATTERN "*.h")

install(EXPORT descriptorTargets NAMESPACE descriptor:: DESTINATION ${DP_PACKAGE}
    COMPONENT development)
configure_package_config_file(cmake/Config.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/descriptorConfig.cmake INSTALL_DESTINATION ${DP_PACKAGE})
write_basic_package_version_file(
    ${CMAKE_CURRENT_BINARY_DIR}/descriptorConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/descriptorConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/descriptorConfigVersion.cmake
    DESTINATION ${DP_PACKAGE} COMPONENT development)

# The files for pkg-config name their folders relative to themselves, so that the tree may
# be moved or installed with another prefix.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE DP_PC_PREFIX)
foreach(folder LIBDIR INCLUDEDIR)
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_${folder}
        BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE DP_PC_${folder})
endforeach()
foreach(name descriptor descriptor-client descriptor-foundation)
    configure_file(cmake/${name}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

if(TARGET descriptor-host)
    install(TARGETS descriptor-host DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    install(FILES Docs/descriptor-host.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
        COMPONENT tools OPTIONAL)
endif()

# Where MLT and the editors look, from the same prefix.
if(TARGET mltdescriptor)
    install(TARGETS mltdescriptor DESTINATION ${CMAKE_INSTALL_LIBDIR}/mlt-7 COMPONENT mlt)
    install(DIRECTORY Plugins/MLT/Metadata/
        DESTINATION ${CMAKE_INSTALL_DATADIR}/mlt-7/descriptor COMPONENT mlt)
    install(DIRECTORY Plugins/MLT/Kdenlive/
        DESTINATION ${CMAKE_INSTALL_DATADIR}/kdenlive/effects COMPONENT mlt)
    install(DIRECTORY Plugins/MLT/Shotcut/
        DESTINATION ${CMAKE_INSTALL_DATADIR}/shotcut/qml/filters/descriptor_tracker
        COMPONENT mlt)
endif()

if(DP_DEBIAN_PACKAGES)
    include(cmake/Packages.cmake)
else()
    # Everything finds the libraries by its own place, wherever the tree was put.
    set_target_properties(descriptor PROPERTIES INSTALL_RPATH "$ORIGIN")
    if(TARGET mltdescriptor)
        set_target_properties(mltdescriptor PROPERTIES INSTALL_RPATH "$ORIGIN/..")
    endif()
    if(TARGET descriptor-host)
        cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
            BASE_DIRECTORY ${CMAKE_INSTALL_FULL_BINDIR} OUTPUT_VARIABLE libraries)
        set_target_properties(descriptor-host PROPERTIES
            INSTALL_RPATH "$ORIGIN/${libraries}")
    endif()
endif()
