#include <tilvanego/payment/PaymentOperation.h>

#include <tilvanego/facade/Validation.h>

namespace tilvanego::detail {

std::string PaymentOperation::describe(const PaymentRequest& request) {
  const auto yesOrNo = [](bool value) { return value ? "true" : "false"; };
  std::string text = "PaymentRequest(requestId: " + request.requestId();
  text += ", amount: " + request.amount().text();
  text += ", tip: " + (request.tip() ? request.tip()->text() : "nil");
  text += ", transactionType: ";
  text += rawText(request.transactionType());
  text += ", currency: " + request.currency();
  text += ", callbackURL: " + request.callbackURL().absoluteString();
  text += ", customId: " + request.customId().value_or("nil");
  text += ", notes: ";
  text += request.notes() ? "present" : "nil";
  text += ", credentials: ";
  text += yesOrNo(request.credentials().has_value());
  text += ", requiresReaderReady: ";
  text += yesOrNo(request.requiresReaderReady());
  text += ")";
  return text;
}

std::optional<std::string_view> PaymentOperation::validate(const PaymentRequest& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (request.amount() <= 0) return "Amount must be greater than zero.";
  if (request.tip() && *request.tip() < 0) return "Tip must be greater than or equal to zero.";
  if (auto failure = checkCurrency(request.currency())) return failure;
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  return checkOptionalCredentials(request.credentials());
}

void PaymentOperation::addItems(const PaymentRequest& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.addText("amount", request.amount().text());
  items.add("type", rawText(request.transactionType()));
  items.add("currency", request.currency());
  items.add("return_url", request.callbackURL().absoluteString());
  if (request.tip()) items.addText("tip", request.tip()->text());
  items.addIfPresent("custom_id", request.customId());
  items.addIfPresent("notes", request.notes());
  if (const auto& credentials = request.credentials()) {
    items.add("basic_token", credentials->basicToken());
    items.add("account_id", credentials->accountId());
    items.add("environment", credentials->environment());
  }
  items.add("require_reader_ready", request.requiresReaderReady() ? "true" : "false");
}

}  // namespace tilvanego::detail
