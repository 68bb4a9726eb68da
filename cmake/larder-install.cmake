# What lets other projects find the installed library: a CMake package and larder.pc.
include(CMakePackageConfigHelpers)
set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/larder)

install(EXPORT larder-targets NAMESPACE larder:: FILE larder-targets.cmake
  DESTINATION ${packageFolder} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/larder-config.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/larder-config.cmake
  INSTALL_DESTINATION ${packageFolder} PATH_VARS CMAKE_INSTALL_BINDIR CMAKE_INSTALL_LIBDIR
  NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/larder-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/larder-config.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/larder-config-version.cmake
  ${PROJECT_SOURCE_DIR}/cmake/larder-exports.cmake
  ${PROJECT_SOURCE_DIR}/cmake/larder-provider.cmake
  ${PROJECT_SOURCE_DIR}/cmake/larder-provider-exports.txt
  DESTINATION ${packageFolder} COMPONENT development)

# Relative to the folder of larder.pc, so that the tree can be moved.
set(pkgconfigFolder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(fullPkgconfigFolder ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
foreach(folder LIBDIR INCLUDEDIR)
  file(RELATIVE_PATH pc${folder} ${fullPkgconfigFolder} ${CMAKE_INSTALL_FULL_${folder}})
  string(REGEX REPLACE "/$" "" pc${folder} ${pc${folder}})
endforeach()
cmake_path(ABSOLUTE_PATH LARDER_INSTALL_MODULEDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
  OUTPUT_VARIABLE modules)
file(RELATIVE_PATH pcMODULEDIR ${fullPkgconfigFolder} ${modules})
configure_file(${CMAKE_CURRENT_LIST_DIR}/larder.pc.in larder.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/larder.pc
  DESTINATION ${pkgconfigFolder} COMPONENT development)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/samples
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/larder COMPONENT development
  PATTERN "*.tmf" EXCLUDE)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/larder COMPONENT development)
# The decoder of trace sessions reads it.
install(FILES ${PROJECT_SOURCE_DIR}/docs/6d1a6c5e-2f0b-4e57-9c3a-71e40d58b296.tmf
  DESTINATION ${CMAKE_INSTALL_DATADIR}/larder COMPONENT tool)
