# Classes of variants, for tests and benchmarks that run one class beside the others: the choice under
# each cap (QAL_ISA_CAPS), under valgrind (emulated), of AVX2 and GFNI on a processor that has more
# (gfni), and for the processor that a test makes up (given, tests/base/given_cpu.hpp).
# qal_link_class(target class) links the library's objects with it.
set(qal_choice ${PROJECT_SOURCE_DIR}/src/dispatch.cpp)
qal_choice_flags(${qal_choice})

function(qal_add_choice class level)
  add_library(qal_choice_${class} OBJECT EXCLUDE_FROM_ALL ${qal_choice})
  target_compile_definitions(qal_choice_${class} PRIVATE ${ARGN})
  target_include_directories(qal_choice_${class} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
  target_compile_features(qal_choice_${class} PRIVATE cxx_std_20)
  set_target_properties(qal_choice_${class} PROPERTIES
    QAL_ISA_CAP ${level} CXX_VISIBILITY_PRESET hidden POSITION_INDEPENDENT_CODE ON)
endfunction()
foreach(class IN LISTS QAL_ISA_CAPS)
  list(FIND QAL_ISA_CAPS ${class} level)
  qal_add_choice(${class} ${level})
endforeach()
qal_add_choice(emulated 1 ${QAL_EMULATED_CPU})
qal_add_choice(gfni 1
  "QAL_ASSUMED_CPU=(cpu_bmi2_adx | cpu_pclmulqdq | cpu_avx2 | cpu_gfni | cpu_vpclmulqdq)")
qal_add_choice(given 2 QAL_ASSUMED_CPU=qal_given_cpu)

function(qal_link_class target class)
  target_sources(${target} PRIVATE
    $<FILTER:$<TARGET_OBJECTS:qal_objects>,EXCLUDE,/dispatch\\.cpp> $<TARGET_OBJECTS:qal_choice_${class}>)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/include)
endfunction()
