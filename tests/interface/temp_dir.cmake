# What the interface test scripts share: a fresh temporary directory, steps
# that stop a check at the first failure, and the frame that runs a check in
# a temporary directory and always removes it.

# make_temp_dir(<var>): creates a new directory under $TMPDIR (or /tmp).
function(make_temp_dir out)
  set(root /tmp)
  if(DEFINED ENV{TMPDIR} AND IS_DIRECTORY "$ENV{TMPDIR}")
    set(root $ENV{TMPDIR})
  endif()
  string(RANDOM LENGTH 10 ALPHABET abcdefghijklmnopqrstuvwxyz0123456789 suffix)
  while(EXISTS ${root}/ctgscore-interface-${suffix})
    string(RANDOM LENGTH 10 ALPHABET abcdefghijklmnopqrstuvwxyz0123456789 suffix)
  endwhile()
  file(MAKE_DIRECTORY ${root}/ctgscore-interface-${suffix})
  set(${out} ${root}/ctgscore-interface-${suffix} PARENT_SCOPE)
endfunction()

# A check reports through `error` in its caller's scope and stops at the
# first failure.
macro(fail text)
  set(error "${text}")
  return(PROPAGATE error)
endmacro()

# Runs a command; its output is left in step_output (trailing white space
# stripped) and a failure stops the check.
macro(run_step what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE step_output
    ERROR_VARIABLE step_errors OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT status EQUAL 0)
    fail("${what} failed (${status}):\n${step_output}\n${step_errors}")
  endif()
endmacro()

# check_in_temp_dir(<function>): calls <function>(<directory>) in a new
# temporary directory, removes it, then fails the script with the check's error.
function(check_in_temp_dir check)
  make_temp_dir(work)
  set(error "")
  cmake_language(CALL ${check} ${work})
  file(REMOVE_RECURSE ${work})
  if(error)
    message(FATAL_ERROR "${error}")
  endif()
endfunction()
