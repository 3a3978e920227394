# Read by cpack when it makes packages for another architecture: dpkg-shlibdeps asks that architecture's packages.
set(ENV{DPKG_ADMINDIR} ${CPACK_KV_SYSROOT}/var/lib/dpkg)
set(ENV{DEB_HOST_ARCH} ${CPACK_DEBIAN_PACKAGE_ARCHITECTURE})
