#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/sandbox/Response.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/Decimal.h>

namespace tilvanego::sandbox {

/// The memory of the payment application: which payments were made, and what of them was captured and
/// refunded.
class Ledger {
 public:
  /// Turns an approval that the memory doesn't allow into a failure, and sets the values of the response that
  /// the memory knows better: the transaction list, and a transaction id that isn't another one's.
  void judge(const LaunchLink& request, Decision& decision) const;

  /// Remembers what a request did by a decision of `judge` that has been answered.
  void enter(const LaunchLink& request, const Decision& decision, const Date& now);

 private:
  /// Money of one payment that can be captured and refunded.
  struct Payment {
    std::string transactionId;
    bool isAuthorization = false;
    /// What was authorized or paid, with the tip; zero if only the card was saved.
    Decimal amount;
    /// What was paid: the amount of a sale, or of the capture.
    Decimal paid;
    Decimal refunded = 0;
    /// Of the capture; empty without one. A refund may name either id.
    std::string captureId = {};
  };

  /// A line of the transaction list.
  struct Entry {
    std::string transactionId;
    Decimal amount;
    std::optional<Decimal> tip;
    std::optional<std::string> customId;
    std::optional<std::string> approvalCode;
    Date time;
    std::string_view type = "";
    std::string_view status = "";
  };

  /// Why a request is refused.
  struct Refusal {
    /// A response code of card processors (ISO 8583, data element 39).
    std::string_view code;
    std::string_view message;
  };
  static constexpr Refusal inexact{"13", "The amounts have too many digits to be added exactly"};

  /// The position of the payment that a capture or a refund names; `payments_.size()` if it is unknown.
  [[nodiscard]] std::size_t paymentOf(const LaunchLink& request) const;
  [[nodiscard]] std::optional<Refusal> refusalOf(const LaunchLink& request) const;
  [[nodiscard]] static std::optional<Refusal> refusalOfCapture(const Payment& payment, const Decimal& amount);
  [[nodiscard]] static std::optional<Refusal> refusalOfRefund(const Payment& payment,
                                                              const std::optional<Decimal>& amount);
  void enterPayment(const LaunchLink& request, Entry& entry);
  static void enterCapture(Payment& payment, Entry& entry);
  static void enterRefund(Payment& payment, Entry& entry);
  [[nodiscard]] std::string unusedId(std::string id) const;
  [[nodiscard]] std::string listText() const;

  std::vector<Payment> payments_;
  std::vector<Entry> entries_;
};

}  // namespace tilvanego::sandbox
