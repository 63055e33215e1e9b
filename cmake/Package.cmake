# Installation, the CMake package and the pkg-config files.

include(CMakePackageConfigHelpers)

set(xperiment_targets environment runs)
if(TARGET workbench)
  list(APPEND xperiment_targets workbench)
endif()
install(TARGETS ${xperiment_targets} EXPORT xperimentTargets
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/xperiment
  FILE_SET generated DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/xperiment
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/xperiment)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/xperiment)
install(EXPORT xperimentTargets NAMESPACE xperiment:: DESTINATION ${package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/xperimentConfig.cmake.in
  ${PROJECT_BINARY_DIR}/xperimentConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/xperimentConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/xperimentConfig.cmake
  ${PROJECT_BINARY_DIR}/xperimentConfigVersion.cmake DESTINATION ${package_dir})

foreach(target IN LISTS xperiment_targets)
  set(PC_NAME ${target})
  set(PC_REQUIRES "")
  if(target STREQUAL "runs")
    set(PC_REQUIRES "xperiment-environment")
  elseif(target STREQUAL "workbench")
    set(PC_REQUIRES "xperiment-runs")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/xperiment.pc.in
    ${PROJECT_BINARY_DIR}/xperiment-${target}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/xperiment-${target}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR "Xperiment")
set(CPACK_PACKAGE_CONTACT "The Xperiment authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "yosys, nextpnr-ice40, fpga-icestorm, fpga-icestorm-chipdb")
include(CPack)
