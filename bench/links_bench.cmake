# Boost.URL and uriparser are measured beside the library.
find_package(Boost CONFIG REQUIRED COMPONENTS url)
find_package(PkgConfig REQUIRED)
pkg_check_modules(uriparser REQUIRED IMPORTED_TARGET liburiparser)
tilvanego_bench(links SOURCES allocations.cpp links_hand.cpp links_peers.cpp LIBRARIES Boost::url PkgConfig::uriparser)
set_source_files_properties(links_peers.cpp PROPERTIES COMPILE_OPTIONS "-Wno-error;-w")
