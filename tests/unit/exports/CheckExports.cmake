# Checks the dynamic symbols that a shared object defines against an allowlist.
#   cmake -DNM=<nm> -DLIBRARY=<shared object> -DALLOWLIST=<file> -P CheckExports.cmake
# Allowlist lines are "need <regex>" or "may <regex>"; '#' starts a comment.

foreach(argument NM LIBRARY ALLOWLIST)
  if(NOT DEFINED ${argument})
    message(FATAL_ERROR "CheckExports.cmake needs -D${argument}=...")
  endif()
endforeach()

execute_process(COMMAND ${NM} -D --defined-only --format=posix ${LIBRARY}
  OUTPUT_VARIABLE listing ERROR_VARIABLE errors RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${LIBRARY}: ${errors}")
endif()

# POSIX format: "name type value [size]" per line.
string(REPLACE "\n" ";" lines "${listing}")
set(exported)
foreach(line IN LISTS lines)
  if(line MATCHES "^([^ ]+) ")
    list(APPEND exported "${CMAKE_MATCH_1}")
  endif()
endforeach()

file(STRINGS ${ALLOWLIST} entries REGEX "^(need|may) ")
set(patterns)
set(needed)
foreach(entry IN LISTS entries)
  string(REGEX REPLACE "^(need|may) +" "" pattern "${entry}")
  list(APPEND patterns "${pattern}")
  if(entry MATCHES "^need ")
    list(APPEND needed "${pattern}")
  endif()
endforeach()

# Whether any symbol matches any pattern, each pattern matched whole.
function(any_matches result symbols patterns)
  foreach(symbol IN LISTS symbols)
    foreach(pattern IN LISTS patterns)
      if(symbol MATCHES "^(${pattern})$")
        set(${result} TRUE PARENT_SCOPE)
        return()
      endif()
    endforeach()
  endforeach()
  set(${result} FALSE PARENT_SCOPE)
endfunction()

set(unexpected)
foreach(symbol IN LISTS exported)
  any_matches(listed "${symbol}" "${patterns}")
  if(NOT listed)
    list(APPEND unexpected "${symbol}")
  endif()
endforeach()

set(missing)
foreach(pattern IN LISTS needed)
  any_matches(present "${exported}" "${pattern}")
  if(NOT present)
    list(APPEND missing "${pattern}")
  endif()
endforeach()

list(LENGTH exported count)
message(STATUS "${LIBRARY}: ${count} exported symbols")
if(unexpected OR missing)
  list(JOIN unexpected "\n  " unexpected_lines)
  list(JOIN missing "\n  " missing_lines)
  message(FATAL_ERROR "Exports of ${LIBRARY} do not match ${ALLOWLIST}\n"
    "not in the allowlist:\n  ${unexpected_lines}\n"
    "required but missing:\n  ${missing_lines}")
endif()
