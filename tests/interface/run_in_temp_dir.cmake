# Runs PROGRAM inside a fresh temporary directory (the library writes its log
# into the working directory) and removes the directory afterwards.
# Usage: cmake -DPROGRAM=<path> -P run_in_temp_dir.cmake
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/temp_dir.cmake)
make_temp_dir(dir)
execute_process(COMMAND ${PROGRAM} WORKING_DIRECTORY ${dir} RESULT_VARIABLE status)
file(REMOVE_RECURSE ${dir})
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} failed: ${status}")
endif()
