# Instruction sets. The library is compiled for baseline x86-64; a variant's own file alone gets
# flags, by the ending of its name, so that no function shared with the rest can carry them along.
set(QAL_ISA_CAPS baseline avx2 all)
list(FIND QAL_ISA_CAPS "${QAL_ISA_CAP}" QAL_ISA_CAP_LEVEL)
if(QAL_ISA_CAP_LEVEL EQUAL -1)
  message(FATAL_ERROR "QAL_ISA_CAP is '${QAL_ISA_CAP}'; it may be one of: ${QAL_ISA_CAPS}")
endif()

set(QAL_ISA_FLAGS_bmi2adx -mbmi2 -madx)
set(QAL_ISA_FLAGS_avx2 -mavx2 -mbmi -mbmi2)
set(QAL_ISA_FLAGS_avx2_pclmul ${QAL_ISA_FLAGS_avx2} -mpclmul)
set(QAL_ISA_FLAGS_avx2_gfni ${QAL_ISA_FLAGS_avx2} -mgfni)
set(QAL_ISA_FLAGS_avx512 ${QAL_ISA_FLAGS_avx2} -mgfni -mvpclmulqdq -mpclmul -mavx512f -mavx512dq
  -mavx512bw -mavx512vl -mavx512vbmi -mavx512vbmi2 -mavx512ifma)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # Its own header of AVX-512 intrinsics starts results from undefined values (gcc bug 105593).
  list(APPEND QAL_ISA_FLAGS_avx512 -Wno-uninitialized -Wno-maybe-uninitialized)
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Without optimisation its intrinsics are macros, whose casts it takes for ours; clang does not.
  foreach(isa avx2 avx2_gfni avx2_pclmul avx512)
    list(APPEND QAL_ISA_FLAGS_${isa} -Wno-conversion -Wno-sign-conversion -Wno-old-style-cast)
  endforeach()
endif()

# qal_isa_flags(file...): flags for each file named <routine>_<isa>.cpp
function(qal_isa_flags)
  foreach(file IN LISTS ARGN)
    foreach(isa avx512 avx2_gfni avx2_pclmul avx2 bmi2adx)
      if(file MATCHES "_${isa}\\.cpp$")
        set_property(SOURCE ${file} APPEND PROPERTY COMPILE_OPTIONS ${QAL_ISA_FLAGS_${isa}})
        break()
      endif()
    endforeach()
  endforeach()
endfunction()

# What valgrind executes of the AVX2 class, which is more than its processor claims to have.
set(QAL_EMULATED_CPU "QAL_ASSUMED_CPU=(cpu_bmi2_adx | cpu_pclmulqdq | cpu_avx2)")

# qal_choice_flags(file): flags for the file that chooses between variants, in the calling directory
function(qal_choice_flags file)
  # The cap is for this file alone: a target says which in its property QAL_ISA_CAP.
  set_property(SOURCE ${file} APPEND PROPERTY COMPILE_DEFINITIONS QAL_ISA_CAP=$<TARGET_PROPERTY:QAL_ISA_CAP>)
  # Resolvers run before relocation has finished: nothing in their file may be instrumented.
  set(uninstrumented -fno-sanitize=all -fno-stack-protector -fno-lto)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU") # clang warns about coverage switches that it does not need
    list(APPEND uninstrumented -fno-profile-arcs -fno-test-coverage)
  else()
    list(APPEND uninstrumented -fno-profile-instr-generate -fno-coverage-mapping)
  endif()
  set_property(SOURCE ${file} APPEND PROPERTY COMPILE_OPTIONS ${uninstrumented})
endfunction()
