find_package(simdjson REQUIRED)
find_package(RapidJSON REQUIRED)
find_package(Boost 1.75 CONFIG REQUIRED)
find_package(nlohmann_json REQUIRED)
tilvanego_bench(models SOURCES allocations.cpp models_boost.cpp
                       LIBRARIES TilvaneGo::Models simdjson::simdjson Boost::headers nlohmann_json::nlohmann_json)
target_include_directories(models_bench SYSTEM PRIVATE ${RapidJSON_INCLUDE_DIRS} ${RAPIDJSON_INCLUDE_DIRS})
set_source_files_properties(models_boost.cpp PROPERTIES COMPILE_OPTIONS "-Wno-error;-w")
