# Runs a short example live with its output going to a file, as a pipe or CI sees it, and checks
# the one-line-per-pin-change log: the locator must be seen lit and dark, and the run must end
# by itself at the script's `quit`.
#   cmake -DWARDEN=... -DAGENT=... -DSCRIPT=... -P LiveSmoke.cmake
execute_process(COMMAND "${WARDEN}" run --quiet --agent "${AGENT}" "${SCRIPT}"
                INPUT_FILE /dev/null OUTPUT_VARIABLE out ERROR_VARIABLE err
                RESULT_VARIABLE status TIMEOUT 60)
if(NOT status STREQUAL "0")
  message(FATAL_ERROR "warden run exited with '${status}'\n${out}${err}")
endif()
foreach(pattern IN ITEMS
        "(^|\n)[0-9]+\\.[0-9][0-9][0-9] pin locator_yellow 1\n"
        "(^|\n)[0-9]+\\.[0-9][0-9][0-9] pin locator_yellow 0\n"
        "(^|\n)[0-9]+\\.[0-9][0-9][0-9] pin status_green 1\n")
  if(NOT out MATCHES "${pattern}")
    message(FATAL_ERROR "no line matching '${pattern}'\n--- output:\n${out}${err}")
  endif()
endforeach()
string(REGEX MATCHALL "pin locator_yellow 1\n" lit "${out}")
list(LENGTH lit flashes)
if(flashes LESS 3)
  message(FATAL_ERROR "the locator was lit ${flashes} times, expected it to flash\n${out}")
endif()
if(out MATCHES "(^|\n)[^0-9\n]")
  message(FATAL_ERROR "a line other than a pin change in quiet mode\n--- output:\n${out}")
endif()
