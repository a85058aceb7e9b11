#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>
#include <tilvanego/json/ValueCodecs.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using tilvanego::JSONError;
using tilvanego::JSONFailure;
using tilvanego::JSONValue;
namespace json = tilvanego::json;

void require(bool holds) {
  if (!holds) std::abort();
}

struct Line {
  std::string name;
  std::optional<std::int64_t> count;
  std::optional<double> weight;
  bool operator==(const Line&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(json::field("name", &Line::name), json::field("count", &Line::count),
                        json::field("weight", &Line::weight));
  }
};

struct Order {
  std::optional<std::string> id;
  std::optional<bool> open;
  std::optional<tilvanego::UUID> uuid;
  std::vector<Line> lines;
  std::optional<std::map<std::string, std::string>> items;
  std::optional<Line> a_rather_long_key_of_a_line;
  bool operator==(const Order&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(json::field("id", &Order::id), json::field("open", &Order::open),
                        json::field("uuid", &Order::uuid), json::field("lines", &Order::lines),
                        json::field("items", &Order::items),
                        json::field("a rather long key of a line", &Order::a_rather_long_key_of_a_line));
  }
};

void checkError(const JSONError& error, std::size_t size) {
  require(error.offset <= size);
  require(!error.description().empty());
}

// What was read is written in every layout, and reads back as the same.
template <typename T>
void checkRoundTrip(const T& value) {
  for (const bool sorted : {false, true}) {
    for (const bool pretty : {false, true}) {
      const auto text = json::encode(value, {.sortedKeys = sorted, .pretty = pretty});
      require(text.has_value());
      require(json::decode<T>(*text) == value);
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of its own size, so that a read past the end is seen.
  const std::vector<char> bytes(data, data + size);
  const std::string_view text(bytes.data(), bytes.size());

  const auto value = json::decode<JSONValue>(text);
  checkSkipping(text, value);
  value ? checkRoundTrip(*value) : checkError(value.error(), size);

  const auto order = json::decode<Order>(text);
  order ? checkRoundTrip(*order) : checkError(order.error(), size);
  if (order && !value) require(value.error().failure == JSONFailure::numberOutOfRange);
  return 0;
}
