tilvanego_bench(http_request SOURCES allocations.cpp LIBRARIES TilvaneGo::HTTPClient)
