# systemd's own check of the unit file, where systemd-analyze exists (skipped otherwise: exit 77).
# The unit names the installed warden; the built one stands in for it.
#   -DUNIT= -DWARDEN= -DINSTALLED_WARDEN= -DWORK=
find_program(ANALYZE systemd-analyze)
if(NOT ANALYZE)
  message("systemd-analyze not found: the unit is not verified")
  cmake_language(EXIT 77)
endif()
file(READ ${UNIT} unit)
string(REPLACE "${INSTALLED_WARDEN}" "${WARDEN}" unit "${unit}")
file(MAKE_DIRECTORY ${WORK})
file(WRITE ${WORK}/pinlamp.service "${unit}")
execute_process(COMMAND ${ANALYZE} verify ${WORK}/pinlamp.service
                RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(NOT status EQUAL 0 OR out MATCHES "pinlamp.service")
  message(FATAL_ERROR "systemd-analyze verify (${status}):\n${out}")
endif()
