# Package files for users of the installed libraries: a pkg-config file and a CMake
# package.  The libraries and headers install from src/ and platform/.
include(CMakePackageConfigHelpers)

# The .pc file finds the prefix from its own location, so an install moved with
# `cmake --install --prefix DIR` (or DESTDIR) stays usable.
set(ZELK_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH ZELK_PC_RELATIVE_PREFIX /prefix/${ZELK_PC_DIR} /prefix)
string(REGEX REPLACE "/$" "" ZELK_PC_RELATIVE_PREFIX "${ZELK_PC_RELATIVE_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/pkg/zelkLogReadST.pc.in
  ${PROJECT_BINARY_DIR}/zelkLogReadST.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zelkLogReadST.pc DESTINATION ${ZELK_PC_DIR} COMPONENT dev)

set(ZELK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zelkLogReadST)
install(EXPORT zelkLogReadSTTargets NAMESPACE zelkLogReadST:: DESTINATION ${ZELK_CMAKE_DIR}
  COMPONENT dev)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/pkg/zelkLogReadSTConfig.cmake.in
  ${PROJECT_BINARY_DIR}/zelkLogReadSTConfig.cmake INSTALL_DESTINATION ${ZELK_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelkLogReadSTConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zelkLogReadSTConfig.cmake
  ${PROJECT_BINARY_DIR}/zelkLogReadSTConfigVersion.cmake DESTINATION ${ZELK_CMAKE_DIR} COMPONENT dev)
