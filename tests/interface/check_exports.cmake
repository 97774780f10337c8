# Checks that a shared library exports exactly the expected functions: the
# scoring library's 14 interface functions unless EXPECTED lists others.
# Usage: cmake -DNM=<nm> -DLIBRARY=<lib.so> [-DEXPECTED=<name;...>] -P check_exports.cmake
cmake_minimum_required(VERSION 3.25)
set(expected ${EXPECTED})
if(NOT expected)
  set(expected
    QK4_setParameter QK4_getParameter
    QK4_calFhrKrebs QK4_getKrebsLocation QK4_getKrebsBaseline
    QK4_calFhrUC QK4_getUCLocation QK4_getUCBaseline
    QK4_calFhrFischer2 QK4_getFischer2Location QK4_getFischer2Baseline
    # The ACOG functions keep their C++ names.
    _Z14QK4_calFhrAcogPKiS0_S0_ii _Z19QK4_getAcogLocationv _Z19QK4_getAcogBaselinev)
endif()
set(linker_symbols _init _fini _edata _end __bss_start)

execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY}
  OUTPUT_VARIABLE listing ERROR_VARIABLE errors RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "nm failed (${status}): ${errors}")
endif()

set(exported)
string(REPLACE "\n" ";" lines "${listing}")
foreach(line IN LISTS lines)
  # "<address> <type> <name>[@version]"; code, weak, data, bss and read-only data.
  if(line MATCHES "^[0-9a-fA-F]* *([TWDBRVui]) ([^@ ]+)")
    if(NOT CMAKE_MATCH_2 IN_LIST linker_symbols)
      list(APPEND exported ${CMAKE_MATCH_2})
    endif()
  endif()
endforeach()

list(SORT expected)
list(SORT exported)
if(NOT exported STREQUAL expected)
  set(missing ${expected})
  list(REMOVE_ITEM missing ${exported})
  set(extra ${exported})
  list(REMOVE_ITEM extra ${expected})
  message(FATAL_ERROR "exported symbols differ\n  missing: ${missing}\n  unexpected: ${extra}")
endif()
list(LENGTH exported count)
message(STATUS "${count} symbols exported, as expected")
