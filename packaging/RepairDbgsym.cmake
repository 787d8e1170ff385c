# Run by cpack after it has made the packages (CPACK_POST_BUILD_SCRIPTS): the debug-information
# package gets md5sums relative to its root, as dpkg and lintian expect, and its documentation
# directory as a link to the runtime package's, whose copyright and changelog cover it.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(NOT package MATCHES "\\.ddeb$")
    continue()
  endif()
  get_filename_component(name ${package} NAME_WE)
  string(REGEX REPLACE "_.*" "" name ${name})
  string(REGEX REPLACE "-dbgsym$" "" main ${name})
  set(tree ${CPACK_TOPLEVEL_DIRECTORY}/repair-${name})
  file(REMOVE_RECURSE ${tree})
  execute_process(COMMAND dpkg-deb -R ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)
  file(STRINGS ${tree}/DEBIAN/md5sums sums)
  list(TRANSFORM sums REPLACE "^([0-9a-f]+ +)/.*-dbgsym/" "\\1")
  list(JOIN sums "\n" sums)
  file(WRITE ${tree}/DEBIAN/md5sums "${sums}\n")
  file(MAKE_DIRECTORY ${tree}/usr/share/doc)
  file(CREATE_LINK ${main} ${tree}/usr/share/doc/${name} SYMBOLIC)
  execute_process(COMMAND dpkg-deb --root-owner-group -Zxz -b ${tree} ${package}
                  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE ${tree})
endforeach()
