# What lets another project find the installed library: find_package(zpapache) and pkg-config.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zpapache)
install(EXPORT zpapache NAMESPACE zpapache:: FILE zpapache-config.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zpapache-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zpapache-config-version.cmake DESTINATION ${package_dir})

# The panel's own tracking library is named where it is; the stand-alone one lies beside the library.
if(ZPTM_LIBRARY)
  set(zptm_cflags " -I${ZPTM_INCLUDE_DIR}")
  set(zptm_libs ${ZPTM_LIBRARY})
else()
  set(zptm_cflags "")
  set(zptm_libs -lzptm)
endif()
# The folders follow from where the file lies, so an installed tree may be moved.
file(RELATIVE_PATH includedir_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(${CMAKE_CURRENT_LIST_DIR}/zpapache.pc.in ${PROJECT_BINARY_DIR}/zpapache.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zpapache.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
