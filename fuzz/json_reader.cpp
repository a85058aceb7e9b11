#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;

void checkError(const JSONError& error, std::size_t size) {
  require(error.offset <= size);
  require(!error.description().empty());
}

// What was read is written in every layout, and reads back as the same.
void checkRoundTrip(const JSONValue& value) {
  for (const bool sorted : {false, true}) {
    for (const bool pretty : {false, true}) {
      const auto text = json::encode(value, {.sortedKeys = sorted, .pretty = pretty});
      require(text.has_value());
      require(json::decode<JSONValue>(*text) == value);
    }
  }
}

// Passing over a value is as strict as reading it, but for numbers that no double holds.
void checkSkipping(std::string_view text, const std::expected<JSONValue, JSONError>& value) {
  json::Reader reader(text);
  const bool skipped = reader.skip() && reader.finish();
  if (value) require(skipped);
  if (!value && skipped) require(value.error().failure == JSONFailure::numberOutOfRange);
}

// A reader with limits reads the same or refuses.
void checkLimits(std::string_view text, const std::expected<JSONValue, JSONError>& unlimited) {
  for (const JSONLimits& limits : {JSONLimits{.elements = 8}, JSONLimits{.depth = 3},
                                   JSONLimits{.memory = 1000}, JSONLimits{.bytes = 20}}) {
    const auto value = json::decode<JSONValue>(text, nullptr, limits);
    if (!value) {
      checkError(value.error(), text.size());
      const JSONFailure why = value.error().failure;
      require(!unlimited || why == JSONFailure::beyondLimit || why == JSONFailure::tooDeep);
      continue;
    }
    require(unlimited.has_value() && *value == *unlimited && text.size() <= limits.bytes);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = textOf(data, size);
  const auto value = json::decode<JSONValue>(text);
  checkSkipping(text, value);
  value ? checkRoundTrip(*value) : checkError(value.error(), size);
  checkLimits(text, value);
  if (value) {
    const JSONValue copy = *value;
    require(copy == *value && copy.hash() == value->hash());
  }
  return 0;
}
