#include <tilvanego/sandbox/Ledger.h>

#include <algorithm>
#include <utility>

#include <tilvanego/json/JSON.h>
#include <tilvanego/values/DateFormats.h>

namespace tilvanego::sandbox {
namespace {

/// Whether money moves. The callback may be lost or broken on its way: that changes nothing.
bool takesEffect(Outcome outcome) {
  switch (outcome) {
    case Outcome::approve:
    case Outcome::wrongId:
    case Outcome::noStatus:
    case Outcome::tampered:
    case Outcome::expired:
      return true;
    default:
      return false;
  }
}

/// The value of an item of the approval.
std::optional<std::string> approvedValue(const LaunchLink& request, const Decision& decision,
                                         std::string_view name) {
  const auto items = responseItems(request, Decision{.values = decision.values});
  const auto item = std::ranges::find(items, name, &QueryItem::name);
  return item == items.end() ? std::nullopt : item->value;
}

bool isRefund(Operation operation) {
  return operation == Operation::fullRefund || operation == Operation::partialRefund;
}

/// Transactions in the JSON of a list. Amounts are numbers.
struct ListedDetails {
  std::string status;
  std::string transactionId;
  std::string timestamp;
  std::string approvedAmount;
  std::optional<std::string> authCode;
  std::string entryMode = "CONTACTLESS";
  std::string cardBrand = "VISA";
  std::string cardLast4 = "1111";

  static constexpr auto jsonFields() {
    using Details = ListedDetails;
    return json::fields(
        json::field("status", &Details::status), json::field("transactionId", &Details::transactionId),
        json::field("timestamp", &Details::timestamp),
        json::field("approvedAmount", &Details::approvedAmount), json::field("authCode", &Details::authCode),
        json::field("entryMode", &Details::entryMode), json::field("cardBrand", &Details::cardBrand),
        json::field("cardLast4", &Details::cardLast4));
  }
};

struct Listed {
  double amount = 0;
  std::optional<double> tip;
  std::string type;
  std::optional<std::string> customId;
  ListedDetails transactionDetails;

  static constexpr auto jsonFields() {
    return json::fields(json::field("amount", &Listed::amount), json::field("tip", &Listed::tip),
                        json::field("type", &Listed::type), json::field("customId", &Listed::customId),
                        json::field("transactionDetails", &Listed::transactionDetails));
  }
};

double asNumber(const Decimal& amount) { return json::decode<double>(amount.text()).value_or(0); }

/// What a payment takes: its amount and its tip. No value if that isn't exact.
std::optional<Decimal> totalOf(const LaunchLink& payment) {
  const auto tip = payment.item("tip").and_then(Decimal::parseExact);
  return payment.amount().value_or(0).plus(tip.value_or(0));
}

}  // namespace

std::size_t Ledger::paymentOf(const LaunchLink& request) const {
  const std::string_view id = request.item("transaction_id").value_or("");
  const auto found = std::ranges::find_if(payments_, [&](const Payment& payment) {
    return payment.transactionId == id || (!payment.captureId.empty() && payment.captureId == id);
  });
  return static_cast<std::size_t>(found - payments_.begin());
}

std::optional<Ledger::Refusal> Ledger::refusalOf(const LaunchLink& request) const {
  const Operation operation = request.operation();
  if (operation == Operation::payment && !totalOf(request)) return inexact;
  const bool isCapture = operation == Operation::capture;
  if (!isCapture && !isRefund(operation)) return std::nullopt;
  const std::size_t position = paymentOf(request);
  if (position == payments_.size()) return Refusal{"25", "The transaction is unknown"};
  const Payment& payment = payments_[position];
  return isCapture ? refusalOfCapture(payment, request.amount().value_or(0))
                   : refusalOfRefund(payment, request.amount());
}

std::optional<Ledger::Refusal> Ledger::refusalOfCapture(const Payment& payment, const Decimal& amount) {
  if (!payment.isAuthorization) return Refusal{"12", "The transaction is no authorization"};
  if (!payment.captureId.empty()) return Refusal{"12", "The transaction was captured before"};
  if (amount > payment.amount) return Refusal{"13", "The amount is higher than authorized"};
  return std::nullopt;
}

/// A full refund has no amount.
std::optional<Ledger::Refusal> Ledger::refusalOfRefund(const Payment& payment,
                                                       const std::optional<Decimal>& amount) {
  if (payment.paid.isZero()) return Refusal{"12", "Nothing was paid by the transaction"};
  if (!amount && !payment.refunded.isZero()) return Refusal{"12", "The transaction was refunded before"};
  if (!amount) return std::nullopt;
  const auto refunded = payment.refunded.plus(*amount);
  if (!refunded) return inexact;
  if (*refunded > payment.paid) return Refusal{"13", "The amount is higher than what is left to refund"};
  return std::nullopt;
}

std::string Ledger::unusedId(std::string id) const {
  // Adds one, digit by digit: the ids of the sandbox are decimal, and all have the same length.
  while (std::ranges::find(entries_, id, &Entry::transactionId) != entries_.end()) {
    auto digit = id.rbegin();
    for (; digit != id.rend() && *digit == '9'; ++digit) *digit = '0';
    if (digit != id.rend()) ++*digit;
  }
  return id;
}

void Ledger::judge(const LaunchLink& request, Decision& decision) const {
  if (request.operation() == Operation::transactionList) {
    decision.values = {{"transaction_count", std::to_string(entries_.size())},
                       {"transactionList", listText()}};
    return;
  }
  if (!takesEffect(decision.outcome)) return;
  if (const auto refusal = refusalOf(request)) {
    decision.outcome = Outcome::fail;
    decision.word.reset();
    decision.values = {{"error_code", std::string(refusal->code)},
                       {"error_message", std::string(refusal->message)},
                       {"processor_message", std::string(refusal->message)}};
  } else if (auto id = approvedValue(request, decision, "transaction_id")) {
    decision.values = {{"transaction_id", unusedId(*std::move(id))}};
  }
}

void Ledger::enter(const LaunchLink& request, const Decision& decision, const Date& now) {
  const Operation operation = request.operation();
  const bool changesPayment = operation == Operation::capture || isRefund(operation);
  if (!takesEffect(decision.outcome) || (operation != Operation::payment && !changesPayment)) return;
  Entry entry{.transactionId = approvedValue(request, decision, "transaction_id").value_or(""),
              .amount = request.amount().value_or(0),
              .tip = request.item("tip").and_then(Decimal::parseExact),
              .customId = request.item("custom_id").transform([](auto text) { return std::string(text); }),
              .approvalCode = approvedValue(request, decision, "approval_code"),
              .time = now};
  if (operation == Operation::payment) {
    enterPayment(request, entry);
  } else if (operation == Operation::capture) {
    enterCapture(payments_[paymentOf(request)], entry);
  } else {
    enterRefund(payments_[paymentOf(request)], entry);
  }
  entries_.push_back(std::move(entry));
}

void Ledger::enterPayment(const LaunchLink& request, Entry& entry) {
  const std::string_view type = request.item("type").value_or("");
  const Decimal total = totalOf(request).value_or(entry.amount);
  if (type == "sale") {
    entry.type = "sale";
    entry.status = "APPROVED";
  } else if (type == "auth") {
    entry.type = "authorization";
    entry.status = "AUTHORIZED";
  } else {
    entry.type = "save";
    entry.status = "SAVED";
  }
  payments_.push_back({.transactionId = entry.transactionId,
                       .isAuthorization = type == "auth",
                       .amount = total,
                       .paid = type == "sale" ? total : Decimal()});
}

void Ledger::enterCapture(Payment& payment, Entry& entry) {
  entry.type = "capture";
  entry.status = "CAPTURED";
  payment.captureId = entry.transactionId;
  payment.paid = entry.amount;
}

void Ledger::enterRefund(Payment& payment, Entry& entry) {
  entry.type = "refund";
  entry.status = "REFUNDED";
  if (entry.amount.isZero()) entry.amount = payment.paid;  // a full refund has no amount
  payment.refunded = payment.refunded.plus(entry.amount).value_or(payment.paid);
}

std::string Ledger::listText() const {
  std::vector<Listed> list;
  for (const Entry& entry : entries_) {
    const auto& tip = entry.tip;
    list.push_back({.amount = asNumber(entry.amount),
                    .tip = tip.transform(asNumber),
                    .type = std::string(entry.type),
                    .customId = entry.customId,
                    .transactionDetails = {
                        .status = std::string(entry.status),
                        .transactionId = entry.transactionId,
                        .timestamp = internetDateText(entry.time),
                        .approvedAmount = entry.amount.plus(tip.value_or(0)).value_or(entry.amount).text(),
                        .authCode = entry.approvalCode}});
  }
  // Every text came decoded from a link, so it is UTF-8.
  return json::encode(list).value_or("[]");
}

}  // namespace tilvanego::sandbox
