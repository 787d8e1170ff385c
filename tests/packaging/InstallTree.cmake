# The installation as a user gets it: `cmake --install` into a staging root, the installed
# plug-in's exports against the allow-list, then a sibling agent built against it with
# find_package and with pkg-config, and the installed warden running the installed plug-in
# (found beside it, no --agent) on an example script.
#   -DBUILD_DIR= -DSOURCE_DIR= -DWORK= -DGENERATOR= -DCXX= -DPREFIX=
cmake_minimum_required(VERSION 3.25)

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${what} failed (${status}):\n${out}")
  endif()
  set(output "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
set(root ${WORK}/root)
set(installed ${root}${PREFIX})
set(ENV{DESTDIR} ${root})
run("cmake --install" ${CMAKE_COMMAND} --install ${BUILD_DIR})
unset(ENV{DESTDIR})

file(GLOB_RECURSE libdirs LIST_DIRECTORIES false ${installed}/lib*/libpinlamp.so)
list(GET libdirs 0 plugin)
get_filename_component(libdir ${plugin} DIRECTORY)
set(ENV{LD_LIBRARY_PATH} ${libdir})

run("the installed plug-in's exports" ${CMAKE_COMMAND} -DLIBRARY=${plugin}
    -DALLOWED=${SOURCE_DIR}/tests/plugin/exported-symbols.txt
    -P ${SOURCE_DIR}/tests/plugin/ExportedSymbols.cmake)

run("the sibling's configuration against the installation" ${CMAKE_COMMAND}
    -S ${SOURCE_DIR}/examples/sibling -B ${WORK}/sibling -G ${GENERATOR}
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_PREFIX_PATH=${installed})
run("the sibling's build with find_package" ${CMAKE_COMMAND} --build ${WORK}/sibling)
run("the sibling built with find_package" ${WORK}/sibling/lampwise_sibling)

set(ENV{PKG_CONFIG_PATH} ${libdir}/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${root})
run("pkg-config" pkg-config --cflags --libs pinlamp-lampwise)
separate_arguments(flags UNIX_COMMAND "${output}")
run("the sibling's build with pkg-config" ${CXX} ${SOURCE_DIR}/examples/sibling/main.cpp ${flags}
    -o ${WORK}/pc_sibling)
run("the sibling built with pkg-config" ${WORK}/pc_sibling)

unset(ENV{LD_LIBRARY_PATH})
run("the installed warden" ${installed}/bin/warden check
    ${SOURCE_DIR}/examples/switch48/panel.warden)
if(NOT output MATCHES "1 passed, 0 failed")
  message(FATAL_ERROR "the installed warden did not pass the example:\n${output}")
endif()
# The runtime component alone, as the runtime package holds it: every library warden loads must
# be in it (cmake --install above installs every component and would hide one left out).
set(runtime_root ${WORK}/runtime)
run("cmake --install --component runtime" ${CMAKE_COMMAND} -E env DESTDIR=${runtime_root}
    ${CMAKE_COMMAND} --install ${BUILD_DIR} --component runtime)
run("warden from the runtime component alone" ${runtime_root}${PREFIX}/bin/warden check
    ${SOURCE_DIR}/examples/switch48/panel.warden)
message(STATUS "installed, built against and run from ${installed}")
