# Where things go below the installation prefix.
include(GNUInstallDirs)
set(KV_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/kv_algo)
if(WIN32)
  # Beside the libraries that they and the program need; Windows looks nowhere else.
  set(KV_INSTALL_MEMBERDIR ${CMAKE_INSTALL_BINDIR})
else()
  set(KV_INSTALL_MEMBERDIR ${CMAKE_INSTALL_LIBDIR}/kv_algo)
endif()
