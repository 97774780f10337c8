# Reads the library version from the public header, where hosts see it as
# CTGSCORE_VERSION_MAJOR/_MINOR/_PATCH, into CTGSCORE_VERSION ("MAJOR.MINOR.PATCH").
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/../include/ctgscore.h version_lines
  REGEX "^#define CTGSCORE_VERSION_(MAJOR|MINOR|PATCH) +[0-9]+")
set(CTGSCORE_VERSION)
foreach(part MAJOR MINOR PATCH)
  if(NOT version_lines MATCHES "CTGSCORE_VERSION_${part} +([0-9]+)")
    message(FATAL_ERROR "include/ctgscore.h does not define CTGSCORE_VERSION_${part}")
  endif()
  list(APPEND CTGSCORE_VERSION ${CMAKE_MATCH_1})
endforeach()
list(JOIN CTGSCORE_VERSION "." CTGSCORE_VERSION)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${CMAKE_CURRENT_LIST_DIR}/../include/ctgscore.h)
