# Warnings for our own code; qal_warnings(target...) applies them.
add_library(qal_warnings INTERFACE)
target_compile_options(qal_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wundef -Wvla
  -Wformat=2 $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>)
if(QAL_WERROR)
  target_compile_options(qal_warnings INTERFACE -Werror)
endif()

function(qal_warnings)
  foreach(target IN LISTS ARGN)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:qal_warnings>)
  endforeach()
endfunction()
