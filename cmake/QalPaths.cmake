# What is built carries no path of the machine that built it, and is the same wherever it was built.
# gcc takes the last map that fits, clang the longest: the inner of two nested directories comes last.
set(qal_path_maps "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=." "-ffile-prefix-map=${PROJECT_BINARY_DIR}=.")
cmake_path(IS_PREFIX PROJECT_BINARY_DIR "${PROJECT_SOURCE_DIR}" qal_source_is_inside)
if(qal_source_is_inside)
  list(REVERSE qal_path_maps)
endif()

# qal_map_paths(target...)
function(qal_map_paths)
  foreach(target IN LISTS ARGN)
    target_compile_options(${target} PRIVATE ${qal_path_maps})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU") # which compiles at link time in a unit of its own
      target_link_options(${target} PRIVATE ${qal_path_maps})
    endif()
  endforeach()
endfunction()
