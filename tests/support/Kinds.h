#pragma once

#include <span>

#include <tilvanego/facade/OperationFunctions.h>

#include "tests/support/Test.h"
#include "tests/support/TestHost.h"

namespace tilvanego::test {

/// In every request that has one. A test may choose another.
inline std::string_view secretToken = "t0ken";
inline constexpr std::string_view secretNotes = "n0tes";

inline URL parsedURL(std::string_view text) { return URL::parse(text).value(); }

inline PaymentCredentials credentials() {
  return PaymentCredentials(
      {.basicToken = std::string(secretToken), .accountId = "acc", .environment = "prod"});
}

/// "case", or "failure(errorName: description)", with "+" if a response came along.
template <typename Result>
std::string summary(const Result& result) {
  std::string text(result.name());
  if (const auto* failure = std::get_if<typename Result::Failure>(&result)) {
    text += "(" + std::string(failure->error.name()) + ": " + failure->error.errorDescription() + ")";
  }
  return text + (result.response() ? "+" : "");
}

template <typename Result>
std::optional<std::string> summary(const std::optional<Result>& result) {
  return result.transform([](const Result& one) { return summary(one); });
}

/// A completion that notes "NAME SUMMARY".
inline auto noting(TestHost& host, std::string_view name) {
  return [&host, name](const auto& result) { host.note(std::string(name) + " " + summary(result)); };
}

/// A request of the kind with every field filled in.
template <OperationKind kind>
typename OperationRecords<kind>::Request fullRequest(const URL& url, const std::string& id = "A-1") {
  using enum OperationKind;
  if constexpr (kind == payment) {
    return PaymentRequest({.requestId = id,
                           .amount = 1,
                           .currency = "EUR",
                           .callbackURL = url,
                           .customId = "c",
                           .notes = std::string(secretNotes),
                           .credentials = credentials()});
  } else if constexpr (kind == initialization) {
    return InitializationRequest({.requestId = id,
                                  .callbackURL = url,
                                  .sourceApplication = "shop",
                                  .basicToken = std::string(secretToken),
                                  .accountId = "acc",
                                  .environment = "prod",
                                  .basePath = "/p"});
  } else if constexpr (kind == transactionList) {
    return TransactionListRequest({.requestId = id, .callbackURL = url});
  } else if constexpr (kind == fullRefund) {
    return FullRefundRequest(
        {.requestId = id, .transactionId = "T", .callbackURL = url, .credentials = credentials()});
  } else if constexpr (kind == partialRefund) {
    return PartialRefundRequest({.requestId = id,
                                 .transactionId = "T",
                                 .amount = 1,
                                 .callbackURL = url,
                                 .credentials = credentials()});
  } else if constexpr (kind == capture) {
    return CaptureRequest({.requestId = id, .transactionId = "T", .amount = "1", .callbackURL = url});
  } else if constexpr (kind == clearData) {
    return ClearDataRequest({.requestId = id, .callbackURL = url, .amount = 1, .timeout = 30});
  } else if constexpr (kind == reboot) {
    return RebootRequest({.requestId = id, .callbackURL = url});
  } else {
    return SaveRequest({.requestId = id,
                        .callbackURL = url,
                        .currency = "EUR",
                        .customId = "c",
                        .notes = std::string(secretNotes),
                        .credentials = credentials()});
  }
}

/// An operation by its public functions; results are given by their summaries.
struct Kind {
  std::string_view name;
  /// Starts it with the request id "A-1" and every other field filled in; notes the completion.
  void (*start)(TestHost& host, const URL& callbackURL);
  bool (TilvaneGo::*isInProgress)() const;
  void (TilvaneGo::*cancel)();
  bool (TilvaneGo::*isCallback)(const URL& url) const;
  std::optional<std::string> (*result)(const TestHost& host, const URL& url);
  std::optional<std::string> (*parse)(const URL& url);
  std::string_view inProgress;
  /// As messages and error names say it.
  std::string_view words;
};

inline void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

/// All kinds, in the order in which a callback is offered to them.
std::span<const Kind> allKinds();
const Kind& kindNamed(std::string_view name);

}  // namespace tilvanego::test
