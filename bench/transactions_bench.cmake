find_package(simdjson REQUIRED)
tilvanego_bench(transactions LIBRARIES simdjson::simdjson)
