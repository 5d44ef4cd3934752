# Debian packages from the install components: `cpack -G DEB` in a build folder makes
# libvel_<version>_<arch>.deb and libvel-dev_<version>_<arch>.deb, installed under /usr.
set(CPACK_PACKAGE_NAME vel)
set(CPACK_PACKAGE_VENDOR "Vel developers")
set(CPACK_PACKAGE_CONTACT "Vel developers <vel@localhost>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Typed, self-describing storage of engineering simulation results")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL libvel libvel-dev)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)

set(CPACK_DEBIAN_LIBVEL_PACKAGE_NAME libvel)
# The HDF5 and expat run-time packages, found by dpkg-shlibdeps from what libvel links.
set(CPACK_DEBIAN_LIBVEL_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_LIBVEL_DESCRIPTION
    "Vel shared library and its command-line tools (veldump, vel-xdmf)")

set(CPACK_DEBIAN_LIBVEL-DEV_PACKAGE_NAME libvel-dev)
set(CPACK_DEBIAN_LIBVEL-DEV_PACKAGE_SECTION libdevel)
# The public headers include HDF5's.
set(CPACK_DEBIAN_LIBVEL-DEV_PACKAGE_DEPENDS "libvel (= ${PROJECT_VERSION}), libhdf5-dev")
set(CPACK_COMPONENT_LIBVEL-DEV_DESCRIPTION
    "Vel headers, CMake package and pkg-config file")

include(CPack)
