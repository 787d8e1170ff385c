# Compares the dynamic symbols that a plug-in defines with the allow-list, both ways: a symbol
# that slips out (a new standard-library instance, an internal without hidden visibility) fails
# as surely as an entry point that went missing.
#   -DLIBRARY=<libpinlamp.so> -DALLOWED=<exported-symbols.txt> [-DNM=nm]
cmake_minimum_required(VERSION 3.25)

if(NOT NM)
  set(NM nm)
endif()
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} RESULT_VARIABLE status
                OUTPUT_VARIABLE listing ERROR_VARIABLE errors)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${NM} -D --defined-only ${LIBRARY} failed (${status}):\n${errors}")
endif()

# "<address> <kind> <name>" per line; only the name counts.
string(REPLACE "\n" ";" lines "${listing}")
set(exported)
foreach(line IN LISTS lines)
  if(line MATCHES "^[0-9a-fA-F]* *[A-Za-z] (.+)$")
    list(APPEND exported "${CMAKE_MATCH_1}")
  endif()
endforeach()
list(SORT exported)

file(STRINGS ${ALLOWED} entries)
set(allowed)
foreach(entry IN LISTS entries)
  if(NOT entry MATCHES "^#" AND NOT entry STREQUAL "")
    list(APPEND allowed "${entry}")
  endif()
endforeach()
list(SORT allowed)

set(extra ${exported})
list(REMOVE_ITEM extra ${allowed})
set(missing ${allowed})
if(exported)
  list(REMOVE_ITEM missing ${exported})
endif()
if(extra OR missing)
  list(JOIN extra "\n  " extraText)
  list(JOIN missing "\n  " missingText)
  message(FATAL_ERROR "${LIBRARY} does not export exactly the allow-list ${ALLOWED}\n"
                      "exported but not allowed:\n  ${extraText}\n"
                      "allowed but not exported:\n  ${missingText}")
endif()
list(LENGTH exported count)
message(STATUS "${LIBRARY}: ${count} exported symbols, as allowed")
