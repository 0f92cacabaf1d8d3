# Install rules, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

install(DIRECTORY include/qal DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h")
install(TARGETS qal qal_static EXPORT qal
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(EXPORT qal NAMESPACE qal:: FILE qalTargets.cmake COMPONENT development
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qal)

configure_package_config_file(cmake/qalConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/qalConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qal)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/qalConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qalConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/qalConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qal COMPONENT development)

# The file finds the prefix from its own place, so that it holds for any prefix of the installation and
# may be moved. If the libraries have an absolute directory, that place tells nothing of the prefix.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(qal_pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE qal_pc_up)
  set(qal_pc_prefix "\${pcfiledir}/${qal_pc_up}")
endif()
# Appending gives ${prefix}/lib for a relative directory and the directory itself for an absolute one.
cmake_path(APPEND qal_pc_libdir "\${prefix}" "${CMAKE_INSTALL_LIBDIR}")
cmake_path(APPEND qal_pc_includedir "\${prefix}" "${CMAKE_INSTALL_INCLUDEDIR}")
# Spaces are escaped, as they are in ${pcfiledir}; within quotes that would not be undone.
foreach(path qal_pc_prefix qal_pc_libdir qal_pc_includedir)
  string(REPLACE " " "\\ " ${path} "${${path}}")
endforeach()
configure_file(cmake/qal.pc.in qal.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qal.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

install(FILES README.md LICENSE CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
if(TARGET qal_tool)
  install(TARGETS qal_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
endif()
