#pragma once

#include <tilvanego/transports/CompressedURLPayload.h>

#include "tests/facade/HookedHost.h"
#include "tests/facade/RandomSequences.h"
#include "tests/support/Test.h"

/// What the tests of operations that survive their host share.
namespace tilvanego::test {

using Names = std::vector<std::string>;
using Records = HookedHost::Records;
using Transport = PaymentLaunchTransport;
using enum OperationKind;

inline const URL done = parsedURL("shop://done");
inline const URL otherDone = parsedURL("shop://other");
inline URL answer(const std::string& query) { return parsedURL("shop://done?" + query); }

/// Notes "ID SUMMARY" of each result.
inline auto noting(Names& names, std::string id) {
  return [&names, id = std::move(id)](const auto& result) { names.push_back(id + " " + summary(result)); };
}

inline std::shared_ptr<Records> noRecords() { return std::make_shared<Records>(); }

/// Has one payment in the records, "1", unless another is named.
inline void startAndEnd(HookedHost& host, const std::string& id = "1", const URL& url = done) {
  host.sdk->startPayment(fullRequest<payment>(url, id), nullptr);
  host.restart();
}

/// "KIND ID", with "+" if the callback came.
inline Names interrupted(const HookedHost& host) {
  Names names;
  for (const auto& one : host.sdk->interruptedOperations()) {
    names.push_back(std::string(rawText(one.kind)) + " " + one.requestId.value_or("-") +
                    (one.callbackReceived ? "+" : ""));
  }
  return names;
}

inline constexpr int always = 1'000;
inline const std::string handoffId(43, 'A');

/// The callback of "shop://done" with a result on the pasteboard, or compressed.
inline URL sealedAnswer() { return answer("transport=pasteboard&resultHandoffId=" + handoffId); }
inline URL zippedAnswer(const std::string& requestId, detail::ResultQueryItems items = {}) {
  items.insert({{"request_id", requestId}, {"status", "approved"}});
  const auto payload = detail::encodeCompressedPayload(
      detail::makeURLPayloadEnvelope(detail::PaymentHandoffDirection::result, requestId, Date(),
                                     detail::PaymentURLResultPayload{std::move(items)}));
  return answer("transport=gzip&encoding=gzip-json&payload=" + payload->text +
                "&payload_size=" + std::to_string(payload->jsonSize) +
                "&compressed_size=" + std::to_string(payload->compressedSize));
}

/// What the next process would find now.
inline Names nextFinds(const HookedHost& host) {
  const HookedHost next(std::make_shared<Records>(*host.records));
  return interrupted(next);
}

/// A hook that throws in the first `times` calls of this name, and notes the warnings.
inline HookedHost::Hook failing(std::string call, int times, Names& warnings) {
  return [call = std::move(call), left = std::make_shared<int>(times), &warnings](Port port,
                                                                                  std::string_view text) {
    if (port == Port::logger) warnings.emplace_back(text);
    if (port == Port::store && text == call && (*left)-- > 0) throw Thrown();
  };
}

inline bool hasOne(const Names& texts, std::string_view part) {
  return std::ranges::count_if(texts, [&](const auto& text) { return text.contains(part); }) == 1;
}

}  // namespace tilvanego::test
