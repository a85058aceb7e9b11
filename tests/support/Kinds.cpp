#include "tests/support/Kinds.h"

#include <algorithm>
#include <array>

#include <tilvanego/facade/OperationFunctions.h>

namespace tilvanego::test {
namespace {

const std::string id = "A-1";

/// A request with every field filled in.
template <OperationKind kind>
typename OperationRecords<kind>::Request request(const URL& url) = delete;

template <>
PaymentRequest request<OperationKind::payment>(const URL& url) {
  return PaymentRequest({.requestId = id,
                         .amount = 1,
                         .currency = "EUR",
                         .callbackURL = url,
                         .customId = "c",
                         .notes = std::string(secretNotes),
                         .credentials = credentials()});
}

template <>
InitializationRequest request<OperationKind::initialization>(const URL& url) {
  return InitializationRequest({.requestId = id,
                                .callbackURL = url,
                                .sourceApplication = "shop",
                                .basicToken = std::string(secretToken),
                                .accountId = "acc",
                                .environment = "prod",
                                .basePath = "/p"});
}

template <>
TransactionListRequest request<OperationKind::transactionList>(const URL& url) {
  return TransactionListRequest({.requestId = id, .callbackURL = url});
}

template <>
FullRefundRequest request<OperationKind::fullRefund>(const URL& url) {
  return FullRefundRequest(
      {.requestId = id, .transactionId = "T", .callbackURL = url, .credentials = credentials()});
}

template <>
PartialRefundRequest request<OperationKind::partialRefund>(const URL& url) {
  return PartialRefundRequest(
      {.requestId = id, .transactionId = "T", .amount = 1, .callbackURL = url, .credentials = credentials()});
}

template <>
CaptureRequest request<OperationKind::capture>(const URL& url) {
  return CaptureRequest({.requestId = id, .transactionId = "T", .amount = "1", .callbackURL = url});
}

template <>
ClearDataRequest request<OperationKind::clearData>(const URL& url) {
  return ClearDataRequest({.requestId = id, .callbackURL = url, .amount = 1, .timeout = 30});
}

template <>
RebootRequest request<OperationKind::reboot>(const URL& url) {
  return RebootRequest({.requestId = id, .callbackURL = url});
}

template <>
SaveRequest request<OperationKind::save>(const URL& url) {
  return SaveRequest({.requestId = id,
                      .callbackURL = url,
                      .currency = "EUR",
                      .customId = "c",
                      .notes = std::string(secretNotes),
                      .credentials = credentials()});
}

template <OperationKind kind>
constexpr Kind row(std::string_view inProgress, std::string_view words) {
  constexpr auto& functions = operationFunctions<kind>;
  return {
      .name = rawText(kind),
      .start =
          [](TestHost& host, const URL& url) {
            ((*host.sdk).*operationFunctions<kind>.start)(request<kind>(url), noting(host, rawText(kind)));
          },
      .isInProgress = functions.isInProgress,
      .cancel = functions.cancel,
      .isCallback = functions.isCallback,
      .result = [](const TestHost& host,
                   const URL& url) { return summary(((*host.sdk).*operationFunctions<kind>.result)(url)); },
      .parse =
          [](const URL& url) {
            return summary(operationFunctions<kind>.parse(url, std::nullopt, std::nullopt));
          },
      .inProgress = inProgress,
      .words = words,
  };
}

using enum OperationKind;
constexpr std::array kinds{
    row<initialization>("An initialization is already in progress.", "initialization"),
    row<transactionList>("A transaction list request is already in progress.", "transaction list"),
    row<fullRefund>("A full refund request is already in progress.", "full refund"),
    row<partialRefund>("A partial refund request is already in progress.", "partial refund"),
    row<capture>("A capture request is already in progress.", "capture"),
    row<clearData>("A clear data request is already in progress.", "clear data"),
    row<reboot>("A reboot request is already in progress.", "reboot"),
    row<save>("A save request is already in progress.", "save"),
    row<payment>("A payment is already in progress.", "payment"),
};
static_assert(kinds.size() == operationKinds.size());

}  // namespace

std::span<const Kind> allKinds() { return kinds; }

const Kind& kindNamed(std::string_view name) { return *std::ranges::find(kinds, name, &Kind::name); }

}  // namespace tilvanego::test
