# The installed package: `find_package(vorrtvm CONFIG REQUIRED)` gives vorrtvm::vm, vorrtvm::core,
# vorrtvm::metrics and vorrtvm::sys; pkg-config finds `vorrtvm`.
include(CMakePackageConfigHelpers)

set(vor_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vorrtvm)
install(EXPORT vorrtvmTargets NAMESPACE vorrtvm:: DESTINATION ${vor_package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/vorrtvmConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/vorrtvmConfig.cmake INSTALL_DESTINATION ${vor_package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/vorrtvmConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vorrtvmConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/vorrtvmConfigVersion.cmake
        DESTINATION ${vor_package_dir})

configure_file(${CMAKE_CURRENT_LIST_DIR}/vorrtvm.pc.in ${CMAKE_CURRENT_BINARY_DIR}/vorrtvm.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vorrtvm.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
