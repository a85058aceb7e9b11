# nginx is started by what starts it for the tests.
find_package(PkgConfig REQUIRED)
pkg_check_modules(httplib REQUIRED IMPORTED_TARGET cpp-httplib)
tilvanego_bench(
  http
  SOURCES http_blocking.cpp http_cpr.cpp http_library.cpp http_peers.cpp ../tests/support/LoopbackSocket.cpp ../tests/support/NginxServer.cpp
  LIBRARIES TilvaneGo::HTTPClient CURL::libcurl PkgConfig::httplib)
target_include_directories(http_bench PRIVATE ${PROJECT_SOURCE_DIR})
# Debian has it from its release 13 on.
find_package(cpr QUIET)
if(TARGET cpr::cpr)
  target_link_libraries(http_bench PRIVATE cpr::cpr)
endif()
set_source_files_properties(http_cpr.cpp http_peers.cpp PROPERTIES COMPILE_OPTIONS "-Wno-error;-w")
