// A "Content-Range" field. A range that was read can be, and reads as the same when it is written.

#include <tilvanego/network/ContentRange.h>

#include "fuzz/Fuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tilvanego::detail;
  const auto range = parseContentRange(textOf(data, size));
  if (!range) return 0;
  require(range->first <= range->last, "an order");
  require(!range->complete || range->last < *range->complete, "a part of the whole");
  require(parseContentRange("bytes " + std::to_string(range->first) + "-" + std::to_string(range->last) +
                            "/" + (range->complete ? std::to_string(*range->complete) : "*")) == range,
          "reads back");
  return 0;
}
