# Builds and runs another project against this one; MODE says how it finds the library.
set(here "${CMAKE_CURRENT_LIST_DIR}")
set(work "${BUILD}/consumer tests/${MODE}")
set(prefix "${work}/install here")
file(REMOVE_RECURSE "${work}")
file(MAKE_DIRECTORY "${work}")

set(toolchain "-G${GENERATOR}" "-DCMAKE_C_COMPILER=${C_COMPILER}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
  "-DCMAKE_C_FLAGS=${C_FLAGS}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}")

# run(command...): its output is shown only when it fails
function(run)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE out ERROR_VARIABLE out RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\n${out}\nstatus ${status}")
  endif()
  set(run_output "${out}" PARENT_SCOPE)
endfunction()

function(build_and_test)
  run(${CMAKE_COMMAND} -S "${here}/project" -B "${work}/build it" ${toolchain} ${ARGN})
  run(${CMAKE_COMMAND} --build "${work}/build it" -j 2)
  run(ctest --test-dir "${work}/build it" --no-tests=error --output-on-failure)
endfunction()

# Builds the library alone. What changes from call to call is configured into other places, not compiled
# again.
set(library_build "${BUILD}/consumer tests/qal by itself")
function(build_library)
  run(${CMAKE_COMMAND} -S "${SOURCE}" -B "${library_build}" ${toolchain} ${ARGN}
    -DQAL_BUILD_TESTS=OFF -DQAL_BUILD_TOOL=OFF -DQAL_BUILD_EXAMPLES=OFF)
  run(${CMAKE_COMMAND} --build "${library_build}" -j 2)
endfunction()

# Compiles consumer.c by hand with what pkg-config answers, and runs it.
function(by_pkg_config pc_directory library_directory)
  set(ENV{PKG_CONFIG_PATH} "${pc_directory}")
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs ${ARGN} qal
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${C_COMPILER} "${here}/project/consumer.c" -o "${work}/by hand" ${flags})
  run(${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${library_directory}" "${work}/by hand")
endfunction()

if(MODE STREQUAL "package")
  run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${prefix}")
  build_and_test("-DCMAKE_PREFIX_PATH=${prefix}")

elseif(MODE STREQUAL "pkgconfig")
  # Into another prefix than the configured one, and moved afterwards.
  foreach(libdir lib lib/x86_64-linux-gnu)
    build_library("-DCMAKE_INSTALL_PREFIX=${work}/configured" "-DCMAKE_INSTALL_LIBDIR=${libdir}"
      -DCMAKE_INSTALL_INCLUDEDIR=include)
    run(${CMAKE_COMMAND} --install "${library_build}" --prefix "${prefix}")
    by_pkg_config("${prefix}/${libdir}/pkgconfig" "${prefix}/${libdir}")
    set(moved "${work}/moved/${libdir}/there")
    file(MAKE_DIRECTORY "${work}/moved/${libdir}")
    file(RENAME "${prefix}" "${moved}")
    by_pkg_config("${moved}/${libdir}/pkgconfig" "${moved}/${libdir}")
  endforeach()

elseif(MODE STREQUAL "absolute")
  # Distributions give absolute directories.
  build_library("-DCMAKE_INSTALL_PREFIX=${work}/usr" "-DCMAKE_INSTALL_LIBDIR=${work}/usr/lib64"
    "-DCMAKE_INSTALL_INCLUDEDIR=${work}/usr/headers")
  run(${CMAKE_COMMAND} --install "${library_build}")
  by_pkg_config("${work}/usr/lib64/pkgconfig" "${work}/usr/lib64")
  build_and_test("-DCMAKE_PREFIX_PATH=${work}/usr" "-Dqal_DIR=${work}/usr/lib64/cmake/qal")

elseif(MODE STREQUAL "static")
  # Indirect functions in programs without a dynamic loader.
  foreach(kind -static -static-pie)
    run(${C_COMPILER} ${kind} -fPIE "-I${SOURCE}/include" "${here}/project/consumer.c"
      "${BUILD}/src/libqal.a" -o "${work}/program${kind}")
    run("${work}/program${kind}")
  endforeach()

elseif(MODE STREQUAL "subdirectory")
  set(copy "${work}/sources of qal")
  execute_process(COMMAND git -C "${SOURCE}" ls-files --cached --others --exclude-standard
    OUTPUT_VARIABLE files OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ";" files "${files}")
  foreach(file IN LISTS files)
    if(EXISTS "${SOURCE}/${file}")
      cmake_path(GET file PARENT_PATH directory)
      file(COPY "${SOURCE}/${file}" DESTINATION "${copy}/${directory}")
    endif()
  endforeach()
  file(GLOB_RECURSE before LIST_DIRECTORIES true "${copy}/*")
  build_and_test("-DQAL_SUBDIRECTORY=${copy}")
  file(GLOB_RECURSE after LIST_DIRECTORIES true "${copy}/*")
  if(NOT before STREQUAL after)
    message(FATAL_ERROR "the build wrote into the source tree")
  endif()

else()
  message(FATAL_ERROR "no mode ${MODE}")
endif()
