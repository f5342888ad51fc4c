# The floors of the source tree: every folder stands on the ones below it and never includes one
# above. A file may include its own unit and any unit on a lower floor; unit tests (*_test.cc)
# may also include the test helpers.
#
#   cmake -DROOT=<source dir> [-DSTAMP=<file>] -P CheckFloors.cmake
#
# Fails, listing every include that goes up or sideways, and touches STAMP when all is well.

# Floor and unit of a file, by its path relative to ROOT. zyra/rsp/ holds two floors: the text
# and local-reverberation blocks, and the container over every block (the response-file object
# and the host sequence that prepares it).
function(zyra_floor_of path out_floor out_unit)
  set(unit "")
  set(floor "")
  if(path MATCHES "^zyra/rsp/(probe_rsp|host_sequence)[._]")
    set(unit "container")
    set(floor 3)
  elseif(path MATCHES "^zyra/([a-z_]+)/")
    set(unit "${CMAKE_MATCH_1}")
    set(floors support 0 format 1 info 2 response 2 rsp 2 calc 4 facade 5)
    list(FIND floors "${unit}" at)
    if(at GREATER_EQUAL 0)
      math(EXPR at "${at} + 1")
      list(GET floors ${at} floor)
    endif()
  elseif(path STREQUAL "zyra/version.h")
    # The generated version numbers include nothing, and anything may include them.
    set(unit "version")
    set(floor 0)
  elseif(path MATCHES "^zyra/[^/]+$")
    set(unit "umbrella")
    set(floor 6)
  elseif(path MATCHES "^(testing)/")
    set(unit "testing")
    set(floor 7)
  elseif(path MATCHES "^(tools|python)/")
    set(unit "${CMAKE_MATCH_1}")
    set(floor 8)
  elseif(path MATCHES "^(tests|bench|fuzz)/")
    set(unit "${CMAKE_MATCH_1}")
    set(floor 9)
  endif()
  set(${out_floor} "${floor}" PARENT_SCOPE)
  set(${out_unit} "${unit}" PARENT_SCOPE)
endfunction()

if(NOT ROOT)
  message(FATAL_ERROR "CheckFloors: give -DROOT=<source dir>")
endif()

file(GLOB_RECURSE files RELATIVE "${ROOT}"
  "${ROOT}/zyra/*.h" "${ROOT}/zyra/*.cc"
  "${ROOT}/testing/*.h" "${ROOT}/testing/*.cc"
  "${ROOT}/tools/*.h" "${ROOT}/tools/*.cc"
  "${ROOT}/python/*.h" "${ROOT}/python/*.cc")
list(SORT files)

set(problems "")
set(count 0)
foreach(file IN LISTS files)
  zyra_floor_of("${file}" floor unit)
  if(floor STREQUAL "")
    string(APPEND problems "  ${file}: its folder has no floor (add it to cmake/CheckFloors.cmake)\n")
    math(EXPR count "${count} + 1")
    continue()
  endif()
  file(STRINGS "${ROOT}/${file}" includes REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
  foreach(line IN LISTS includes)
    if(NOT line MATCHES "\"([^\"]+)\"")
      continue()
    endif()
    set(target "${CMAKE_MATCH_1}")
    zyra_floor_of("${target}" target_floor target_unit)
    if(target_floor STREQUAL "")
      continue()  # not a file of this project
    endif()
    if(target_unit STREQUAL unit OR target_floor LESS floor)
      continue()
    endif()
    if(file MATCHES "_test\\.cc$" AND target_unit MATCHES "^(tests|testing)$")
      continue()
    endif()
    string(APPEND problems "  ${file} includes ${target} (${unit} on floor ${floor}, "
                           "${target_unit} on floor ${target_floor})\n")
    math(EXPR count "${count} + 1")
  endforeach()
endforeach()

if(count GREATER 0)
  message(FATAL_ERROR "Found ${count} includes against the floors "
                      "(support -> format -> blocks -> container -> calc -> facade -> tools):\n"
                      "${problems}")
endif()
if(STAMP)
  file(TOUCH "${STAMP}")
endif()
