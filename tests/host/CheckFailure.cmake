# Runs `warden check` on a script that must fail, and checks that the run exits with 1 (not a
# crash) and prints every expected text: the script's "# expect-output: TEXT" lines and EXPECT.
#   cmake -DWARDEN=... -DAGENT=... -DSCRIPT=... [-DEXPECT=text;text] -P CheckFailure.cmake
file(STRINGS "${SCRIPT}" lines REGEX "^# expect-output: ")
set(expected ${EXPECT})
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^# expect-output: " "" text "${line}")
  list(APPEND expected "${text}")
endforeach()
if(NOT expected)
  message(FATAL_ERROR "${SCRIPT}: nothing to expect")
endif()

execute_process(COMMAND "${WARDEN}" check --quiet --agent "${AGENT}" "${SCRIPT}"
                OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE status TIMEOUT 60)
if(NOT status STREQUAL "1")
  message(FATAL_ERROR "warden check exited with '${status}', not 1\n${out}${err}")
endif()
foreach(text IN LISTS expected)
  string(FIND "${out}" "${text}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "missing from the output: ${text}\n--- output:\n${out}${err}")
  endif()
endforeach()
