# Checks, or with FIX=ON mends, the form of the sources that git tracks. Run from the source tree.
foreach(tool GIT CLANG_FORMAT)
  if(NOT ${tool})
    message(FATAL_ERROR "lint: ${tool} was not found when the build was configured (./dev setup lint)")
  endif()
endforeach()

function(files_like result)
  execute_process(COMMAND ${GIT} ls-files --cached --others --exclude-standard -- ${ARGN}
    OUTPUT_VARIABLE lines OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ";" lines "${lines}")
  set(${result} "${lines}" PARENT_SCOPE)
endfunction()

files_like(sources *.c *.cpp *.h *.hpp)
if(FIX)
  execute_process(COMMAND ${CLANG_FORMAT} -i ${sources} COMMAND_ERROR_IS_FATAL ANY)
  return()
endif()

message(STATUS "clang-format")
execute_process(COMMAND ${CLANG_FORMAT} --dry-run -Werror ${sources} COMMAND_ERROR_IS_FATAL ANY)

message(STATUS "shellcheck")
files_like(scripts dev .ci/run *.sh)
execute_process(COMMAND ${SHELLCHECK} ${scripts} COMMAND_ERROR_IS_FATAL ANY)

message(STATUS "clang-tidy")
# Tests are left to the compilers' warnings: GoogleTest's macros would take most of the time.
# What the compiler is told in gcc's words is not all known to clang-tidy's parser.
execute_process(COMMAND ${RUN_CLANG_TIDY} -clang-tidy-binary ${CLANG_TIDY} -quiet -extra-arg=-Wno-unknown-warning-option -p ${BUILD}
  "^(?!.*/build/).*/(src|tools|examples)/.*\\.(c|cpp)$"
  OUTPUT_VARIABLE report ERROR_VARIABLE noise RESULT_VARIABLE failed)
if(failed)
  message("${report}")
  message(FATAL_ERROR "clang-tidy has remarks")
endif()
