find_package(PkgConfig REQUIRED)
pkg_check_modules(pcre2 REQUIRED IMPORTED_TARGET libpcre2-8)
find_package(nlohmann_json REQUIRED)
tilvanego_bench(http_values LIBRARIES TilvaneGo::HTTPClient PkgConfig::pcre2 nlohmann_json::nlohmann_json ICU::uc ICU::i18n)
