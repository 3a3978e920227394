# cpack: Debian packages, one for each component; for Windows one ZIP file.
set(CPACK_PACKAGE_NAME kv-algo)
set(CPACK_PACKAGE_VENDOR "kv_algo")
set(CPACK_PACKAGE_CONTACT "kv_algo maintainers <developers@kv-algo.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_KV_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/sbom.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/same_bytes.cmake)
if(WIN32)
  include(kv_zip)
  return()
endif()
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(packaged runtime dev tools c cdev python)
if(TARGET kv_av)
  list(APPEND packaged av)
endif()
if(TARGET gstkvalgo)
  list(APPEND packaged gstreamer)
endif()
set(CPACK_COMPONENTS_ALL ${packaged})
set(CPACK_STRIP_FILES ON)
list(PREPEND CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian_finish.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_KV_STRIP ${CMAKE_STRIP})
if(CMAKE_CROSSCOMPILING)
  # What the packages depend on is looked up among those that the tree of libraries was unpacked from.
  set(CPACK_KV_SYSROOT ${CMAKE_SYSROOT})
  set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
  list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${CMAKE_SYSROOT}/lib/${CMAKE_LIBRARY_ARCHITECTURE} ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE OFF)

set(runtime libkv-algo${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "image-processing plug-ins for packed YUV 4:2:2 video
 The libraries kv_Image and kv_Math, and the members of the plug-in family that
 this processor or that one can run: copies between 4:2:2 and bitmaps,
 differences, averages, masks, blends, field parity, pans and template search.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/shlibs ${PROJECT_BINARY_DIR}/debian/triggers)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libkv-algo-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_DESCRIPTION "image-processing plug-ins for video, development files
 Headers, static libraries, the CMake package kv_algo and pkg-config files for
 programs that load the plug-ins.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kv-algo-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION video)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS kv-algo-av)
set(CPACK_DEBIAN_AV_PACKAGE_NAME kv-algo-av)
set(CPACK_DEBIAN_AV_PACKAGE_SECTION video)
set(CPACK_DEBIAN_AV_PACKAGE_DEPENDS "kv-algo-tools (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_AV_DESCRIPTION "image-processing plug-ins for video, files by FFmpeg
 The module through which the program kv reads MP4, MOV, MXF, JPEG, TIFF and
 what else FFmpeg's libraries decode, in a process of its own with limits.")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "image-processing plug-ins for video, command line
 The program kv converts, compares, filters, blends, pans and searches pictures
 and video through the best plug-in that the processor can run.")

set(c libkv-c${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_C_PACKAGE_NAME ${c})
set(CPACK_DEBIAN_C_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_C_PACKAGE_DEPENDS "${runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_C_DESCRIPTION "image-processing plug-ins for video, C interface
 The library kv_c: one C interface to all operations of the family, for frames
 in anybody's memory. Bindings for other languages are built on it.")
set(CPACK_DEBIAN_C_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/c/shlibs ${PROJECT_BINARY_DIR}/debian/triggers)
set(CPACK_DEBIAN_CDEV_PACKAGE_NAME libkv-c-dev)
set(CPACK_DEBIAN_CDEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_CDEV_PACKAGE_DEPENDS "${c} (= ${PROJECT_VERSION}), libkv-algo-dev (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_CDEV_DESCRIPTION "image-processing plug-ins for video, C header
 The header kv/kv.h, the target kv::c of the CMake package kv_algo and kv_c for
 pkg-config.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-kv-algo)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.9), python3-numpy, ${c} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "kv-algo-tools")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "image-processing plug-ins for video, Python package
 The package kv_algo: all operations of the family on NumPy arrays, which are
 read and written where they are, and Y4M and raw video frame by frame.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/python/postinst
  ${PROJECT_BINARY_DIR}/debian/python/prerm)

set(CPACK_DEBIAN_GSTREAMER_PACKAGE_NAME gstreamer1.0-kv-algo)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_DEPENDS "${c} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_GSTREAMER_DESCRIPTION "image-processing plug-ins for video, GStreamer elements
 The plug-in kvalgo: converters, filters, field parity and keys for packed
 4:2:2 video in GStreamer pipelines, with the same bytes on every machine.")

# The papers that every Debian package carries.
set(papers ${PROJECT_BINARY_DIR}/debian)
set(CPACK_KV_PAPERS ${papers})
file(READ ${PROJECT_SOURCE_DIR}/LICENSE KV_LICENSE)
file(WRITE ${papers}/copyright "${KV_LICENSE}")
# The program holds a library of its own.
set(others "")
if(EXISTS /usr/share/doc/libcli11-dev/copyright)
  file(READ /usr/share/doc/libcli11-dev/copyright others)
endif()
file(WRITE ${papers}/tools/copyright "${KV_LICENSE}
The photograph in /usr/share/kv_algo is CC0-1.0. The program kv holds CLI11, of which Debian says:

${others}")
file(WRITE ${papers}/triggers "activate-noawait ldconfig\n")
set(dependency "${PROJECT_VERSION_MAJOR} ${runtime} (>= ${PROJECT_VERSION})")
file(WRITE ${papers}/shlibs "libkv_Image ${dependency}\nlibkv_Math ${dependency}\n")
file(WRITE ${papers}/c/shlibs "libkv_c ${PROJECT_VERSION_MAJOR} ${c} (>= ${PROJECT_VERSION})\n")
# Python's bytecode is made where the package is installed, and goes with it.
file(WRITE ${papers}/python/postinst "#!/bin/sh
set -e
if command -v py3compile >/dev/null 2>&1; then py3compile -p python3-kv-algo; fi
")
file(WRITE ${papers}/python/prerm "#!/bin/sh
set -e
if command -v py3clean >/dev/null 2>&1; then py3clean -p python3-kv-algo; fi
")
file(CHMOD ${papers}/python/postinst ${papers}/python/prerm PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
  GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${papers}/changelog "kv-algo (${PROJECT_VERSION}) unstable; urgency=medium

  * See the project's CHANGELOG.md.

 -- ${CPACK_PACKAGE_CONTACT}  ${now}
")
foreach(component IN LISTS packaged)
  string(TOUPPER ${component} upper)
  set(copyright ${papers}/copyright)
  if(component STREQUAL "tools")
    set(copyright ${papers}/tools/copyright)
  endif()
  install(FILES ${copyright} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
    COMPONENT ${component})
endforeach()
include(CPack)
