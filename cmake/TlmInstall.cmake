# What `cmake --install` gives: libraries, headers, programs and a CMake package.
include(CMakePackageConfigHelpers)

install(TARGETS TlmMdx TlmClient EXPORT TlmTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS TlmMeas LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS tlmstation tlmctl tlmserver RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY wire/proto/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tlm/proto)
configure_file(packaging/tlmserver.service.in ${CMAKE_BINARY_DIR}/tlmserver.service @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/tlmserver.service DESTINATION lib/systemd/system)
install(FILES packaging/tlm.sysusers DESTINATION lib/sysusers.d RENAME tlm.conf)
install(FILES packaging/tlmserver.conf DESTINATION ${CMAKE_INSTALL_DATADIR}/tlm)
install(DIRECTORY mdx/include/ client/include/ wire/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Tlm)
install(EXPORT TlmTargets NAMESPACE Tlm:: DESTINATION ${package_dir})
configure_package_config_file(cmake/TlmConfig.cmake.in ${CMAKE_BINARY_DIR}/TlmConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/TlmConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/TlmConfig.cmake ${CMAKE_BINARY_DIR}/TlmConfigVersion.cmake
  DESTINATION ${package_dir})
