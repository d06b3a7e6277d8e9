# Installation and the package that find_package(QXHermite) reads.

install(TARGETS host hermite EXPORT QXHermiteTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY host hermite DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qxhermite
  FILES_MATCHING PATTERN "*.h")
if(QXHERMITE_BUILD_TOOLS)
  install(TARGETS qxhermite RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QXHermite)
install(EXPORT QXHermiteTargets NAMESPACE QXHermite:: DESTINATION ${package_dir})
configure_package_config_file(cmake/QXHermiteConfig.cmake.in
  ${PROJECT_BINARY_DIR}/QXHermiteConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QXHermiteConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QXHermiteConfig.cmake
              ${PROJECT_BINARY_DIR}/QXHermiteConfigVersion.cmake
              cmake/FindRDKit.cmake
  DESTINATION ${package_dir})
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/qxhermite)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/qxhermite RENAME copyright)
