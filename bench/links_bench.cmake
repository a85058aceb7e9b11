# Boost.URL and uriparser are measured beside the library; Boost.URL's implementation is compiled into the benchmark.
find_package(Boost REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(uriparser REQUIRED IMPORTED_TARGET liburiparser)
tilvanego_bench(links SOURCES allocations.cpp links_hand.cpp links_peers.cpp LIBRARIES Boost::headers PkgConfig::uriparser)
set_source_files_properties(links_peers.cpp PROPERTIES COMPILE_OPTIONS "-Wno-error;-w")
