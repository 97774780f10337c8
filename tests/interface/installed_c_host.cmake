# Builds the C host example against an installed copy as a C user would:
# strict C99, the pkg-config flags and a run path to pkg-config's libdir.
# Runs it without LD_LIBRARY_PATH and checks its standard output: only the
# host's own lines, the header's version equal to the installed library's
# file names and the pkg-config version, and the contraction method's named
# words in their order on the trace.
# Inputs: BUILD_DIR, C_COMPILER, PKG_CONFIG, HOST_SOURCE, EXTRA_FLAGS (may be empty).
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/temp_dir.cmake)

macro(pkg_config out)
  run_step("pkg-config ${ARGN}" ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pc_dir}
    ${PKG_CONFIG} ${ARGN} ctgscore)
  set(${out} "${step_output}")
endmacro()

string(JOIN "\n" host_output_pattern
  "ctgscore ([0-9]+)\\.([0-9]+)\\.([0-9]+)"
  "krebs: total [0-9]+ of 12; [^\n]*"
  "fischer: total [0-9]+ of 10; [^\n]*"
  "acog: flags baseline [01]+ variability [01]+ [^\n]*"
  "contractions: rating 1, strongest 60, last peak at ([0-9]+) ending at ([0-9]+), previous end ([0-9]+); [^\n]*")

function(check_host_output output lib_dir modversion)
  if(NOT output MATCHES "^${host_output_pattern}$")
    fail("the host's standard output holds more or other than its own lines:\n${output}")
  endif()
  set(major ${CMAKE_MATCH_1})
  set(version ${CMAKE_MATCH_1}.${CMAKE_MATCH_2}.${CMAKE_MATCH_3})
  set(last_peak ${CMAKE_MATCH_4})
  set(last_end ${CMAKE_MATCH_5})
  set(previous_end ${CMAKE_MATCH_6})
  if(NOT (previous_end LESS last_peak AND last_peak LESS last_end))
    fail("contraction words out of order: previous end ${previous_end}, "
      "last peak ${last_peak}, last end ${last_end}")
  endif()
  if(NOT version STREQUAL modversion)
    fail("header version ${version}, pkg-config version ${modversion}")
  endif()
  foreach(file libctgscore.so.${major} libctgscore.so.${version})
    if(NOT EXISTS ${lib_dir}/${file})
      fail("header version ${version}, but ${lib_dir} has no ${file}")
    endif()
  endforeach()
endfunction()

function(check_c_host work)
  run_step("cmake --install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${work}/prefix)
  file(GLOB_RECURSE pc_file ${work}/prefix/*/ctgscore.pc)
  get_filename_component(pc_dir "${pc_file}" DIRECTORY)
  pkg_config(flags --cflags --libs)
  pkg_config(lib_dir --variable=libdir)
  pkg_config(modversion --modversion)

  separate_arguments(flag_list UNIX_COMMAND "${flags} ${EXTRA_FLAGS}")
  run_step("compiling the C host" ${C_COMPILER} -std=c99 -Wall -Werror ${HOST_SOURCE}
    ${flag_list} -Wl,-rpath,${lib_dir} -o ${work}/c_host)
  file(MAKE_DIRECTORY ${work}/run)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${work}/c_host
    WORKING_DIRECTORY ${work}/run RESULT_VARIABLE status OUTPUT_VARIABLE output
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT status EQUAL 0)
    fail("the C host failed (${status}):\n${output}")
  endif()
  file(GLOB logs ${work}/run/FhrScore_*.log)
  set(log_text "")
  foreach(log IN LISTS logs)
    file(READ ${log} text)
    string(APPEND log_text "${text}")
  endforeach()
  if(NOT log_text MATCHES "Type : ACOG")
    fail("the daily log in ${work}/run lacks the run's lines")
  endif()
  check_host_output("${output}" ${lib_dir} ${modversion})
  return(PROPAGATE error)
endfunction()

check_in_temp_dir(check_c_host)
