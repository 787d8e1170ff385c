# Runs warden live with a pin map that drives a values file, as on a board without hardware: after
# the script the file holds what the agent shows. A map with an unknown backend is refused before
# anything runs, naming the map's line, with exit status 2.
#   cmake -DWARDEN=... -DAGENT=... -DDIR=... -P LivePins.cmake
file(REMOVE_RECURSE "${DIR}")
file(MAKE_DIRECTORY "${DIR}")
file(WRITE "${DIR}/pins.toml" "values_file = \"pins.values\"\n"
     "[[pin]]\nname = \"g\"\nbackend = \"file\"\n"
     "[[pin]]\nname = \"r\"\nbackend = \"file\"\n")
file(WRITE "${DIR}/run.warden" "set mapping Led1 green=g red=r ready=yes\n"
     "set led Led1 green\nwait 0.05\nset led Led1 red\nwait 0.05\nquit\n")
execute_process(COMMAND "${WARDEN}" run --quiet --agent "${AGENT}" --pins "${DIR}/pins.toml"
                        "${DIR}/run.warden"
                INPUT_FILE /dev/null OUTPUT_VARIABLE out ERROR_VARIABLE err
                RESULT_VARIABLE status TIMEOUT 60)
if(NOT status STREQUAL "0")
  message(FATAL_ERROR "warden run --pins exited with '${status}'\n${out}${err}")
endif()
file(READ "${DIR}/pins.values" values)
if(NOT values MATCHES "(^|\n)g 0\n" OR NOT values MATCHES "(^|\n)r 1\n")
  message(FATAL_ERROR "the values file does not show Led1 red:\n${values}")
endif()

file(WRITE "${DIR}/bad.toml" "values_file = \"pins.values\"\n"
     "[[pin]]\nname = \"g\"\nbackend = \"laser\"\n")
execute_process(COMMAND "${WARDEN}" run --quiet --agent "${AGENT}" --pins "${DIR}/bad.toml"
                        "${DIR}/run.warden"
                INPUT_FILE /dev/null OUTPUT_VARIABLE out ERROR_VARIABLE err
                RESULT_VARIABLE status TIMEOUT 60)
if(NOT status STREQUAL "2" OR NOT err MATCHES "bad\\.toml:[0-9]+")
  message(FATAL_ERROR "a bad map gave status '${status}' and no located error\n${out}${err}")
endif()
