# Installation: libraries, headers, the CMake package "MDicom" and the pkg-config file "mdicom".

include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/MDicom)
set(header_folder ${CMAKE_INSTALL_INCLUDEDIR}/mdicom)

# The libraries find each other in whatever folder they stand.
set_target_properties(mdicom Mvkrnx PROPERTIES INSTALL_RPATH "$ORIGIN")
# The headers use std::span.
target_compile_features(mdicom INTERFACE cxx_std_20)

install(TARGETS mdicom Mvkrnx EXPORT MDicomTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ DESTINATION ${header_folder} FILES_MATCHING PATTERN "*.h")
install(FILES kernel/Mvkrnx.h DESTINATION ${header_folder})

install(EXPORT MDicomTargets NAMESPACE mdicom:: DESTINATION ${package_folder})
configure_package_config_file(
  cmake/MDicomConfig.cmake.in ${PROJECT_BINARY_DIR}/MDicomConfig.cmake
  INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/MDicomConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/MDicomConfig.cmake ${PROJECT_BINARY_DIR}/MDicomConfigVersion.cmake
  DESTINATION ${package_folder})

# Relative to its own place, so that an installed tree may move.
file(RELATIVE_PATH pc_prefix
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/mdicom.pc.in ${PROJECT_BINARY_DIR}/mdicom.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/mdicom.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

include(cmake/Docs.cmake)
