find_package(OpenSSL REQUIRED)
find_package(ZLIB REQUIRED)
tilvanego_bench(transports SOURCES transports_end_to_end.cpp transports_samples.cpp LIBRARIES OpenSSL::Crypto ZLIB::ZLIB)
