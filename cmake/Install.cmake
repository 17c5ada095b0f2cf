# Installation: both libraries, the public headers, and the package file for
# find_package(descriptor). Targets: descriptor::descriptor and descriptor::foundation.

include(CMakePackageConfigHelpers)

set(DP_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/descriptor)
set(DP_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/descriptor)

install(TARGETS foundation descriptor EXPORT descriptorTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# The library finds the foundation beside it, wherever the tree was put.
set_target_properties(descriptor PROPERTIES INSTALL_RPATH "$ORIGIN")

install(DIRECTORY API/Inc/DP DESTINATION ${DP_HEADERS} FILES_MATCHING PATTERN "*.h")
install(DIRECTORY foundation/TVK foundation/quillet foundation/platform
    DESTINATION ${DP_HEADERS} FILES_MATCHING PATTERN "*.h"
    PATTERN "Object.h" EXCLUDE PATTERN "SingletonGuard.h" EXCLUDE PATTERN "MixHash.h" EXCLUDE)
install(FILES image/IPImage.h DESTINATION ${DP_HEADERS}/image)

install(EXPORT descriptorTargets NAMESPACE descriptor:: DESTINATION ${DP_PACKAGE})
configure_package_config_file(cmake/Config.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/descriptorConfig.cmake INSTALL_DESTINATION ${DP_PACKAGE})
write_basic_package_version_file(
    ${CMAKE_CURRENT_BINARY_DIR}/descriptorConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/descriptorConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/descriptorConfigVersion.cmake
    DESTINATION ${DP_PACKAGE})
