#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <tilvanego/frame/SecretNames.h>
#include <tilvanego/operations/Transaction.h>
#include <tilvanego/values/URL.h>

#include "apps/tilvanego/ResponseFields.h"

namespace tilvanego::till {

/// The result of an operation for a reader.
struct Receipt {
  /// "Payment: success · 12.50 EUR".
  std::string title;
  /// A line each: why it failed, then what the payment application says, with secrets hidden.
  std::vector<std::string> lines;
  /// With which a payment can be refunded or captured; empty without one.
  std::string transactionId = {};
};

/// Adds the fields of a response, line by line.
class ReceiptLines {
 public:
  explicit ReceiptLines(Receipt& receipt) : receipt_(receipt) {}

  void operator()(std::string_view name, const std::optional<std::string>& value) {
    if (!value) return;
    if (name == "transactionId") receipt_.transactionId = *value;
    add(name, isSecretName(name) ? "hidden" : *value);
  }
  void operator()(std::string_view name, const std::optional<std::int64_t>& value) {
    if (value) add(name, std::to_string(*value));
  }
  void operator()(std::string_view name, const std::vector<TilvaneGoTransaction>& transactions) {
    for (const TilvaneGoTransaction& one : transactions) {
      add(name, one.id() + ", " + one.totalAmount().text() + " " + one.transactionDetails.cardLabel());
    }
  }
  /// The log shows the callback.
  void operator()(std::string_view /*name*/, const URL& /*url*/) {}

 private:
  void add(std::string_view name, const std::string& text) {
    receipt_.lines.push_back(std::string(name) + ": " + text);
  }

  Receipt& receipt_;
};

/// `asked` is the amount, or empty.
template <typename Result>
[[nodiscard]] Receipt makeReceipt(const std::string& operation, const std::string& asked,
                                  const Result& result) {
  Receipt receipt{.title = operation + ": " + std::string(result.name()), .lines = {}};
  if (!asked.empty()) receipt.title += " \u00b7 " + asked;
  if (const auto* failure = std::get_if<typename Result::Failure>(&result)) {
    receipt.lines.push_back(failure->error.errorDescription());
  }
  if (const auto response = result.response()) program::visitRecord(*response, ReceiptLines(receipt));
  return receipt;
}

}  // namespace tilvanego::till
