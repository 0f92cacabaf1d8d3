# Targets for people who work on qal itself.

# Sources as git knows them; outside a checkout these targets have nothing to look at.
find_program(QAL_GIT git)
find_program(QAL_CLANG_FORMAT NAMES clang-format-14 clang-format)
find_program(QAL_CLANG_TIDY NAMES clang-tidy-14 clang-tidy)
find_program(QAL_RUN_CLANG_TIDY NAMES run-clang-tidy-14 run-clang-tidy)
find_program(QAL_SHELLCHECK shellcheck)

add_custom_target(lint
  COMMAND ${CMAKE_COMMAND} -DGIT=${QAL_GIT} -DCLANG_FORMAT=${QAL_CLANG_FORMAT} -DSHELLCHECK=${QAL_SHELLCHECK}
    -DRUN_CLANG_TIDY=${QAL_RUN_CLANG_TIDY} -DCLANG_TIDY=${QAL_CLANG_TIDY} -DBUILD=${PROJECT_BINARY_DIR}
    -P ${PROJECT_SOURCE_DIR}/cmake/lint.cmake
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} USES_TERMINAL VERBATIM)
add_custom_target(fmt
  COMMAND ${CMAKE_COMMAND} -DGIT=${QAL_GIT} -DCLANG_FORMAT=${QAL_CLANG_FORMAT} -DFIX=ON
    -P ${PROJECT_SOURCE_DIR}/cmake/lint.cmake
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} USES_TERMINAL VERBATIM)

if(TARGET qal_tool)
  add_custom_target(demo
    COMMAND ${PROJECT_SOURCE_DIR}/examples/demo.sh $<TARGET_FILE:qal_tool>
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} USES_TERMINAL VERBATIM)
endif()

find_program(QAL_DOXYGEN doxygen)
configure_file(docs/Doxyfile.in Doxyfile @ONLY)
add_custom_target(docs
  COMMAND ${QAL_DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
  COMMAND ${CMAKE_COMMAND} -E echo "The reference is in ${PROJECT_BINARY_DIR}/docs/html/index.html"
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} USES_TERMINAL VERBATIM)

set(CPACK_GENERATOR "DEB;TGZ")
set(CPACK_PACKAGE_CONTACT "qal maintainers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
include(CPack)
