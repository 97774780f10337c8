# Installs the build tree into a temporary prefix and uses it as a host would.
# MODE=cmake: configures, builds and runs the consumer project (find_package).
# MODE=pkgconfig: asks pkg-config for the flags of both libraries and builds the
# C consumer with them.
# Other inputs: BUILD_DIR, GENERATOR, CXX_COMPILER, C_COMPILER, CONSUMER_DIR,
# C_CONSUMER, PKG_CONFIG, EXTRA_FLAGS (sanitizer flags, may be empty).
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/temp_dir.cmake)

macro(run_in dir program what)
  file(MAKE_DIRECTORY ${dir})
  execute_process(COMMAND ${program} WORKING_DIRECTORY ${dir} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    fail("${what} failed: ${status}")
  endif()
endmacro()

function(check_cmake_consumer prefix work)
  run_step("configuring the consumer" ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${work}/build
    -G ${GENERATOR} -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_C_COMPILER=${C_COMPILER}
    -DC_CONSUMER=${C_CONSUMER} "-DCMAKE_CXX_FLAGS=${EXTRA_FLAGS}"
    "-DCMAKE_C_FLAGS=${EXTRA_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${EXTRA_FLAGS}")
  run_step("building the consumer" ${CMAKE_COMMAND} --build ${work}/build)
  run_in(${work}/run ${work}/build/consumer "the consumer built against the installed library")
  run_in(${work}/run ${work}/build/c_consumer "the C consumer built through the CMake package")
endfunction()

function(check_pkgconfig prefix work)
  file(GLOB_RECURSE pc_files ${prefix}/*/ctgscore.pc ${prefix}/*/ctgscore-io.pc)
  list(LENGTH pc_files count)
  if(NOT count EQUAL 2)
    fail("expected the installed ctgscore.pc and ctgscore-io.pc, found: ${pc_files}")
  endif()
  list(GET pc_files 0 pc_file)
  get_filename_component(pc_dir ${pc_file} DIRECTORY)
  get_filename_component(lib_dir ${pc_dir} DIRECTORY)
  run_step("pkg-config" ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pc_dir}
    ${PKG_CONFIG} --cflags --libs ctgscore ctgscore-io)
  set(flags "${step_output}")
  message(STATUS "pkg-config --cflags --libs ctgscore ctgscore-io: ${flags}")
  # Paths may come relative to the .pc file: compare them resolved.
  separate_arguments(flag_list UNIX_COMMAND "${flags}")
  set(found)
  foreach(flag IN LISTS flag_list)
    if(flag MATCHES "^-([IL])(.+)$")
      file(REAL_PATH "${CMAKE_MATCH_2}" path)
      set(flag "-${CMAKE_MATCH_1}${path}")
    endif()
    list(APPEND found "${flag}")
  endforeach()
  file(REAL_PATH ${prefix}/include include_dir)
  file(REAL_PATH ${lib_dir} lib_dir)
  foreach(wanted -I${include_dir} -L${lib_dir} -lctgscore -lctgscore-io)
    if(NOT wanted IN_LIST found)
      fail("pkg-config flags '${flags}' lack '${wanted}' for prefix ${prefix}")
    endif()
  endforeach()

  separate_arguments(extra_list UNIX_COMMAND "${EXTRA_FLAGS}")
  run_step("compiling with the pkg-config flags" ${C_COMPILER} -std=c11 ${extra_list}
    ${C_CONSUMER} ${flag_list} -Wl,-rpath,${lib_dir} -o ${work}/c_consumer)
  run_in(${work}/run ${work}/c_consumer "the C consumer built with pkg-config flags")
endfunction()

function(check_installed work)
  set(prefix ${work}/prefix)
  run_step("cmake --install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
  if(MODE STREQUAL "cmake")
    check_cmake_consumer(${prefix} ${work})
  elseif(MODE STREQUAL "pkgconfig")
    check_pkgconfig(${prefix} ${work})
  else()
    fail("unknown MODE '${MODE}'")
  endif()
  return(PROPAGATE error)
endfunction()

check_in_temp_dir(check_installed)
