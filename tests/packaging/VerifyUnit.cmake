# systemd's own check of the unit files, where systemd-analyze exists (skipped otherwise: exit 77).
# The units name the installed warden; the built one stands in for it.
#   -DUNITS=a.service;b.service -DWARDEN= -DINSTALLED_WARDEN= -DWORK=
find_program(ANALYZE systemd-analyze)
if(NOT ANALYZE)
  message("systemd-analyze not found: the units are not verified")
  cmake_language(EXIT 77)
endif()
file(MAKE_DIRECTORY ${WORK})
foreach(path IN LISTS UNITS)
  get_filename_component(name ${path} NAME)
  file(READ ${path} unit)
  string(REPLACE "${INSTALLED_WARDEN}" "${WARDEN}" unit "${unit}")
  file(WRITE ${WORK}/${name} "${unit}")
  execute_process(COMMAND ${ANALYZE} verify ${WORK}/${name}
                  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0 OR out MATCHES "${name}")
    message(FATAL_ERROR "systemd-analyze verify ${name} (${status}):\n${out}")
  endif()
endforeach()
