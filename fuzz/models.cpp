// Any bytes as a record that the first byte chooses. They are refused with an error of one line, or read as a
// record whose JSON reads as an equal record.

#include <tilvanego/models/Catalogue.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;
using models::AnyRecord;
using models::RecordType;

void checkFault(const JSONError& error, std::size_t size) {
  require(error.offset <= size);
  const std::string report = error.report();
  require(report.find(": ") != report.npos && report.find('\n') == report.npos);
  require(report.starts_with("$: ") == (error.path().empty() && error.failure != JSONFailure::missingKey));
}

void checkRecord(const RecordType& type, const AnyRecord& record) {
  for (const JSONFormat& format : {JSONFormat{}, JSONFormat{.sortedKeys = true, .pretty = true}}) {
    const auto text = record.encode(format);
    require(text.has_value());
    const auto again = type.decode(*text);
    require(again.has_value() && *again == record && again->hash() == record.hash());
  }
  record.visitRules([](const std::string& path, const models::RuledValue&) { require(!path.empty()); });
}

// With limits, the same record is read, or the error is that of a limit.
void checkLimits(const RecordType& type, std::string_view text, const AnyRecord& record) {
  for (const JSONLimits& limits : {JSONLimits{.elements = 6}, JSONLimits{.memory = 2000}}) {
    const auto limited = type.decode(text, limits);
    require(limited ? *limited == record : limited.error().failure == JSONFailure::beyondLimit);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view text = textOf(data, size).substr(1);
  const RecordType& type = models::recordTypes()[data[0] % models::recordTypes().size()];
  const auto record = type.decode(text);
  record ? checkRecord(type, *record) : checkFault(record.error(), text.size());
  if (record) checkLimits(type, text, *record);
  return 0;
}
