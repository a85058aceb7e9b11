#include <tilvanego/models/Record.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {
namespace {

/// Order of the errors: a limit, then invalid JSON, then the first invalid field.
JSONError explain(const std::function<bool(json::Reader&)>& read, std::string_view text,
                  const JSONLimits& limits, JSONError&& firstMet) {
  if (firstMet.failure == JSONFailure::beyondLimit) return std::move(firstMet);
  json::Reader grammar(text, nullptr, limits);
  if (!grammar.skip() || !grammar.finish()) {
    grammar.error().stepsOutward.clear();
    return std::move(grammar.error());
  }
  json::Reader reader(text, &JSONDates::api(), limits);
  reader.readInFieldOrder();
  return read(reader) ? std::move(firstMet) : std::move(reader.error());
}

}  // namespace

bool decodeBy(const std::function<bool(json::Reader&)>& read, std::string_view text, const JSONLimits& limits,
              JSONError& error) {
  json::Reader reader(text, &JSONDates::api(), limits);
  if (read(reader) && reader.finish()) return true;
  error = explain(read, text, limits, std::move(reader.error()));
  return false;
}

JSONFormat withDates(JSONFormat format) {
  if (format.dates == nullptr) format.dates = &JSONDates::api();
  return format;
}

}  // namespace support
}  // namespace tilvanego
