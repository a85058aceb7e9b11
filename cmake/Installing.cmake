# What find_package(TilvaneGo) and pkg-config read in an install tree. Both find everything by their own place, so that
# the tree may be moved.
include(CMakePackageConfigHelpers)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/TilvaneGo)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/TilvaneGoConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/TilvaneGoConfig.cmake INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TilvaneGoConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TilvaneGoConfig.cmake ${PROJECT_BINARY_DIR}/TilvaneGoConfigVersion.cmake
        DESTINATION ${config_dir})
install(EXPORT TilvaneGoTargets NAMESPACE TilvaneGo:: DESTINATION ${config_dir})

# A shared library brings what it needs with it; a host that links the static one names the others too.
if(BUILD_SHARED_LIBS)
  set(pc_requires Requires.private)
else()
  set(pc_requires Requires)
endif()
file(RELATIVE_PATH pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pc_prefix ${pc_prefix})
configure_file(${CMAKE_CURRENT_LIST_DIR}/tilvanego.pc.in ${PROJECT_BINARY_DIR}/tilvanego.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tilvanego.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
