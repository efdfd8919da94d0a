# The Debian package: the library, its headers and zpweb. The server is recommended: its tools are asked at run time.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zpapache)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "zpapache maintainers <maintainers@zpapache.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "websites of an Apache HTTP Server: zpweb and its library")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Creates, lists, changes, stops and removes the websites of an Apache HTTP
Server by editing its own configuration. The command zpweb stages each
change, has the server check it, puts it in place in one step, reloads the
server, records what was done and can take it back. The library behind it
comes with its headers.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "apache2, apache2-utils")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "bash-completion, man-db")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/apache ${PROJECT_BINARY_DIR}/libzptm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers ${PROJECT_SOURCE_DIR}/cmake/debian/shlibs)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/Prepare.cmake)
include(CPack)
