include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/mirovan)
set(installed_targets mirovan)
if(MIROVAN_BUILD_STATIC)
  list(APPEND installed_targets mirovan_static)
endif()

install(FILES include/mirovan.h include/mirovan.hpp DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(TARGETS ${installed_targets} EXPORT mirovan_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
    NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(EXPORT mirovan_targets NAMESPACE mirovan:: FILE mirovan-targets.cmake
  DESTINATION ${package_folder} COMPONENT development)

configure_package_config_file(cmake/mirovan-config.cmake.in
  ${PROJECT_BINARY_DIR}/mirovan-config.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/mirovan-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/mirovan-config.cmake
  ${PROJECT_BINARY_DIR}/mirovan-config-version.cmake
  DESTINATION ${package_folder} COMPONENT development)

# Relative to the file itself, so that an install prefix may be moved; absolute where the folder of
# the libraries is.
set(pc_prefix ${CMAKE_INSTALL_PREFIX})
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE pc_prefix)
  string(PREPEND pc_prefix "\${pcfiledir}/")
endif()
cmake_path(APPEND pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND pc_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
set(pc_private ${MIROVAN_STATIC_LIBRARIES})
list(TRANSFORM pc_private PREPEND "-l" REGEX "^[^-]")
list(JOIN pc_private " " pc_private)
configure_file(cmake/mirovan.pc.in ${PROJECT_BINARY_DIR}/mirovan.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/mirovan.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# The manual pages, where what writes them can run.
find_program(PYTHON3 python3)
if(PYTHON3)
  set(manual ${PROJECT_BINARY_DIR}/man/man3)
  # The overview is the last page that is written.
  add_custom_command(OUTPUT ${manual}/mirovan.3
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${manual}
    COMMAND ${PYTHON3} -B ${PROJECT_SOURCE_DIR}/tools/man_pages ${manual}
    DEPENDS include/mirovan.h docs/snippets.c tools/man_pages tools/header.py
    VERBATIM)
  add_custom_target(mirovan_manual ALL DEPENDS ${manual}/mirovan.3)
  install(DIRECTORY ${manual} DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT development)
endif()
