// Any text as what a pending store kept of each kind. Records that can be read are written, and read again as
// the same; what is written holds no card data.

#include <tilvanego/facade/PendingRecord.h>

#include "fuzz/Fuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tilvanego;
  using namespace tilvanego::detail;
  for (const OperationKind kind : operationKinds) {
    auto records = readPendingRecords(kind, textOf(data, size));
    if (!records) {
      require(!records.error().empty(), "a refusal has a reason");
      continue;
    }
    require(records->size() <= maximumPendingRecords, "there are not too many");
    std::vector<const PendingRecord*> all;
    for (PendingRecord& record : *records) {
      const auto& callback = record.callback;
      if (callback && obstacleTo(kind, callback->url) != WritingObstacle::none) record.callback.reset();
      all.push_back(&record);
    }
    const auto written = writePendingRecords(kind, all);
    for (const RecordInText& in : written.records) {
      require(in.part == RecordInText::Part::whole, "what was read can be written");
    }
    require(readPendingRecords(kind, written.text) == records, "it reads as the same");
  }
  return 0;
}
