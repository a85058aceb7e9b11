#include <tilvanego/json/Codec.h>
#include <tilvanego/models/Record.h>
#include <utility>

namespace tilvanego::models::detail {
namespace {

// Why a text was refused: it is no JSON, or else a field, the first of those at fault.
JSONError explain(const json::RecordTable& table, void* record, std::string_view text) {
  json::Reader grammar(text);
  if (!grammar.skip() || !grammar.finish()) {
    grammar.error().stepsOutward.clear();
    return std::move(grammar.error());
  }
  json::Reader reader(text, &JSONDates::api());
  reader.readInFieldOrder();
  reader.readRecord(table, record);
  return std::move(reader.error());
}

}  // namespace

bool decodeInto(const json::RecordTable& table, void* record, std::string_view text, JSONError& error) {
  json::Reader reader(text, &JSONDates::api());
  if (reader.readRecord(table, record) && reader.finish()) return true;
  error = explain(table, record, text);
  return false;
}

std::expected<std::string, JSONError> encode(const json::RecordTable& table, const void* record,
                                             JSONFormat format) {
  if (format.dates == nullptr) format.dates = &JSONDates::api();
  json::Writer writer(format);
  if (!writer.writeRecord(table, record)) return std::unexpected(std::move(writer.error()));
  return writer.take();
}

}  // namespace tilvanego::models::detail
