#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

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

}  // namespace tilvanego::test
