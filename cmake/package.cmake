# The Debian package: cpack -G DEB in the build folder. Libraries, headers, CMake package and documents in one package.

set(CPACK_PACKAGE_NAME tarnm)
set(CPACK_PACKAGE_VENDOR tarnm)
set(CPACK_PACKAGE_CONTACT "tarnm developers <tarnm@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_DESCRIPTION "One call applies one operation to a whole array of small vectors or matrices.")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_PROVIDES "libtarnm7, libtarnm-dev")
# The dependencies of the libraries, as dpkg-shlibdeps finds them.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
# Install paths of Debian: the folder of the machine's libraries, and the prefix /usr.
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)

include(CPack)
