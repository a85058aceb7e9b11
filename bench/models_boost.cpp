// Boost.JSON itself, for the benchmarks beside this file.
#include <boost/json/src.hpp>
