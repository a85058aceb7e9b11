find_package(simdjson REQUIRED)
find_package(RapidJSON REQUIRED)
tilvanego_bench(json LIBRARIES simdjson::simdjson)
target_include_directories(json_bench SYSTEM PRIVATE ${RapidJSON_INCLUDE_DIRS} ${RAPIDJSON_INCLUDE_DIRS})
