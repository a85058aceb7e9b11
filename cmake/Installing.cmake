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
if(TARGET TilvaneGo::Qt)
  install(EXPORT TilvaneGoQtTargets NAMESPACE TilvaneGo:: DESTINATION ${config_dir})
endif()

# One file for each library. A host that links the static ones names what they stand on; a shared one brings that with it.
file(RELATIVE_PATH pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pc_prefix ${pc_prefix})
function(tilvanego_pkg_config name library description)
  cmake_parse_arguments(PARSE_ARGV 3 arg "" "FLAGS" "REQUIRES;STATIC_REQUIRES")
  if(NOT TARGET TilvaneGo::${library})
    return()
  endif()
  set(requires ${arg_REQUIRES})
  set(flags "")
  if(arg_FLAGS)
    set(flags " ${arg_FLAGS}")
  endif()
  set(threads "")
  if(NOT BUILD_SHARED_LIBS)
    list(APPEND requires ${arg_STATIC_REQUIRES})
    set(threads " -pthread")
  endif()
  list(JOIN requires ", " requires)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/tilvanego.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

set(same_version "tilvanego = ${PROJECT_VERSION}")
tilvanego_pkg_config(tilvanego SDK "${PROJECT_DESCRIPTION}" STATIC_REQUIRES "icu-i18n >= 66" "icu-uc >= 66"
                     "libcrypto >= 3" zlib)
tilvanego_pkg_config(tilvanego-http-client HTTPClient "Sends requests to a terminal's HTTP interface"
                     REQUIRES ${same_version} STATIC_REQUIRES "libcurl >= 7.81" "libssl >= 3")
tilvanego_pkg_config(tilvanego-models Models "The records of a terminal's HTTP interface" REQUIRES ${same_version})
# Qt's own objects move into a program that isn't position-independent, which ends it at its start. Qt's pkg-config files don't say so.
tilvanego_pkg_config(tilvanego-qt Qt "Adapters for a host on Qt 6" REQUIRES ${same_version} STATIC_REQUIRES "Qt6Gui >= 6.4" FLAGS -fPIC)
tilvanego_pkg_config(tilvanego-sandbox Sandbox "A payment application to rehearse with" REQUIRES ${same_version})
