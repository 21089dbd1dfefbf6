# Installation: the libraries, the headers by their full paths, the resource compiler, the registry
# of classes, and the package that find_package(QXFramework) reads.

include(CMakePackageConfigHelpers)

# A build's own registry points into the build tree.
set(QX_LIBRARY_PREFIX "lib/")
configure_file(cmake/registry.toml.in "${PROJECT_BINARY_DIR}/registry.toml" @ONLY)

file(RELATIVE_PATH QX_LIBRARY_PREFIX
  "${CMAKE_INSTALL_FULL_DATADIR}/qxframework" "${CMAKE_INSTALL_FULL_LIBDIR}")
string(APPEND QX_LIBRARY_PREFIX "/")
configure_file(cmake/registry.toml.in "${PROJECT_BINARY_DIR}/installed/registry.toml" @ONLY)

install(TARGETS qxdump RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(TARGETS QXFramework qxrc EXPORT QXFrameworkTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
# The headers, which tests also install alone. The last is the interface by which a program plays the
# user of the stand-in host.
install(DIRECTORY qxframework DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT headers
  FILES_MATCHING PATTERN "*.h"
  PATTERN "qxframework/sql" EXCLUDE PATTERN "internal" EXCLUDE PATTERN "testdata" EXCLUDE PATTERN "*test*" EXCLUDE PATTERN "*_fixture.h" EXCLUDE)
install(FILES qxdesk/screens/user/user.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/qxdesk/screens/user"
  COMPONENT headers)
install(EXPORT QXFrameworkTargets NAMESPACE QX:: DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/QXFramework")
configure_package_config_file(cmake/QXFrameworkConfig.cmake.in
  "${PROJECT_BINARY_DIR}/installed/QXFrameworkConfig.cmake"
  INSTALL_DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/QXFramework")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/installed/QXFrameworkConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/installed/QXFrameworkConfig.cmake"
  "${PROJECT_BINARY_DIR}/installed/QXFrameworkConfigVersion.cmake"
  cmake/qx_embed_resources.cmake
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/QXFramework")
install(FILES "${PROJECT_BINARY_DIR}/installed/registry.toml"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/qxframework")
