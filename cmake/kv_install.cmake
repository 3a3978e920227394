# cmake --install: runtime (libraries and members), dev (to build on them), tools (kv), c and cdev (the C interface), python,
# gstreamer. The tree may be moved as a whole: nothing in it knows its prefix.
include(CMakePackageConfigHelpers)
get_property(KV_MEMBERS GLOBAL PROPERTY KV_MEMBERS)

if(NOT WIN32)
  file(RELATIVE_PATH toLibraries /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(kv PROPERTIES INSTALL_RPATH "$ORIGIN/${toLibraries};$ORIGIN")
  set_target_properties(kv_Image kv_Math kv_c PROPERTIES INSTALL_RPATH $ORIGIN)
  foreach(member IN LISTS KV_MEMBERS)
    # As installed, or copied beside a program with the libraries.
    set_target_properties(${member} PROPERTIES INSTALL_RPATH "$ORIGIN/..;$ORIGIN")
  endforeach()
  if(TARGET gstkvalgo)
    file(RELATIVE_PATH toLibraries /${KV_INSTALL_GSTREAMERDIR} /${CMAKE_INSTALL_LIBDIR})
    string(REGEX REPLACE "/$" "" toLibraries "${toLibraries}")
    set_target_properties(gstkvalgo PROPERTIES INSTALL_RPATH "$ORIGIN/${toLibraries};$ORIGIN/.." BUILD_WITH_INSTALL_RPATH ON)
  endif()
  # One for both trees: CMake would fill up that of the build with empty entries, which the loader reads as the current
  # folder, to have room for the other.
  set_target_properties(kv kv_Image kv_Math kv_c ${KV_MEMBERS} PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
endif()

install(TARGETS kv_Image kv_Math kv_frame kv_run EXPORT kv_algo
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE COMPONENT dev)
install(TARGETS kv_c EXPORT kv_c
  RUNTIME COMPONENT c
  LIBRARY COMPONENT c NAMELINK_COMPONENT cdev
  ARCHIVE COMPONENT cdev)
if(WIN32 AND LLVM_DLLTOOL)
  install(FILES ${PROJECT_BINARY_DIR}/capi/kv_c.lib DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT cdev)
endif()
install(FILES capi/kv/kv.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kv COMPONENT cdev)
install(TARGETS ${KV_MEMBERS} DESTINATION ${KV_INSTALL_MEMBERDIR} COMPONENT runtime)
install(TARGETS kv RUNTIME COMPONENT tools)
if(TARGET kv_av)
  install(TARGETS kv_av DESTINATION ${KV_INSTALL_MEMBERDIR} COMPONENT av)
endif()
if(TARGET gstkvalgo)
  install(TARGETS gstkvalgo DESTINATION ${KV_INSTALL_GSTREAMERDIR} COMPONENT gstreamer)
endif()
install(FILES assets/seeding-720x576.y4m assets/README.md DESTINATION ${CMAKE_INSTALL_DATADIR}/kv_algo COMPONENT tools)

foreach(room geometry image frame run)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${room} DESTINATION ${KV_INSTALL_INCLUDEDIR} COMPONENT dev
    FILES_MATCHING PATTERN "*.h" PATTERN half_plane.h EXCLUDE PATTERN degenerate.h EXCLUDE
    PATTERN thread_team.h EXCLUDE PATTERN process.h EXCLUDE)
endforeach()
# Programs that include these from where they used to be still compile.
foreach(header exceptions kv_exception message_text)
  set(forward ${PROJECT_BINARY_DIR}/include/errors/${header}.h)
  file(CONFIGURE OUTPUT ${forward} CONTENT "#pragma once\n\n#include \"image/errors/${header}.h\"\n")
  install(FILES ${forward} DESTINATION ${KV_INSTALL_INCLUDEDIR}/errors COMPONENT dev)
endforeach()
foreach(header opencv_view runner thread_limit worker_pool)
  set(forward ${PROJECT_BINARY_DIR}/include/host/${header}.h)
  file(CONFIGURE OUTPUT ${forward} CONTENT
    "#pragma once\n\n#include \"run/${header}.h\"\n\nnamespace kv_host {\nusing namespace kv_run;\n}\n")
  install(FILES ${forward} DESTINATION ${KV_INSTALL_INCLUDEDIR}/host COMPONENT dev)
endforeach()

install(FILES plugin/exports.h plugin/dispatch.h DESTINATION ${KV_INSTALL_INCLUDEDIR}/plugin COMPONENT dev)

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/kv_algo)
install(EXPORT kv_algo NAMESPACE kv:: FILE kv_algo-targets.cmake DESTINATION ${packageFolder} COMPONENT dev)
install(EXPORT kv_c NAMESPACE kv:: FILE kv_c-targets.cmake DESTINATION ${packageFolder} COMPONENT cdev)
configure_package_config_file(cmake/kv_algo-config.cmake.in kv_algo-config.cmake INSTALL_DESTINATION ${packageFolder}
  PATH_VARS KV_INSTALL_MEMBERDIR)
write_basic_package_version_file(kv_algo-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kv_algo-config.cmake ${PROJECT_BINARY_DIR}/kv_algo-config-version.cmake
  DESTINATION ${packageFolder} COMPONENT dev)

# kv_add_pkg_config(NAME DESCRIPTION REQUIRES LIBS [COMPONENT INCLUDEDIR]): NAME.pc, which finds the prefix from its
# own place.
file(RELATIVE_PATH KV_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" KV_PC_TO_PREFIX "${KV_PC_TO_PREFIX}")
function(kv_add_pkg_config name description requires libs)
  set(component dev)
  set(headers ${KV_INSTALL_INCLUDEDIR})
  if(ARGC GREATER 4)
    set(component ${ARGV4})
    set(headers ${ARGV5})
  endif()
  if(requires)
    string(PREPEND requires "Requires: ")
    string(APPEND requires "\n")
  endif()
  configure_file(cmake/kv_algo.pc.in ${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${component})
endfunction()
kv_add_pkg_config(kv_Math "Vectors, rectangles, polygons and their intersections" "" "-lkv_Math")
kv_add_pkg_config(kv_Image "Images of packed YUV 4:2:2, bitmaps and masks" "" "-lkv_Image")
kv_add_pkg_config(kv_frame "Interfaces of the kv_algo family, its barrier and its algorithm manager" "kv_Image kv_Math"
  "-lkv_frame -lkv_Image -lkv_Math")
kv_add_pkg_config(kv_run "Worker pool that calls the kv_algo family on several threads" "kv_frame" "-lkv_run -pthread")
kv_add_pkg_config(kv_c "C interface to the kv_algo family" "" "-lkv_c" cdev ${CMAKE_INSTALL_INCLUDEDIR})
kv_add_pkg_config(kv_host "kv_run under the name that it had" "kv_run" "")

if(NOT WIN32)
  # Where Debian's Python looks, below /usr; elsewhere PYTHONPATH names it.
  install(DIRECTORY python/kv_algo DESTINATION lib/python3/dist-packages COMPONENT python
    FILES_MATCHING PATTERN "*.py" PATTERN py.typed PATTERN __pycache__ EXCLUDE)
endif()

if(WIN32)
  install(FILES ${KV_RUNTIME_FILES} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  return()
endif()
install(FILES docs/man/kv.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
install(FILES completion/kv.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME kv
  COMPONENT tools)
install(FILES completion/_kv DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tools)
