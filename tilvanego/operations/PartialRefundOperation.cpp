#include <tilvanego/operations/PartialRefundOperation.h>

#include <tilvanego/frame/RequestDescription.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/payment/CredentialRules.h>
#include <tilvanego/values/Text.h>

namespace tilvanego {

PartialRefundRequest::PartialRefundRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.transactionId = std::string(trimmed(fields_.transactionId));
}

}  // namespace tilvanego

namespace tilvanego::detail {

std::string PartialRefundOperation::describe(const Request& request) {
  return RequestDescription("PartialRefundRequest")
      .field("requestId", request.requestId())
      .field("transactionId", request.transactionId())
      .field("amount", request.amount().text())
      .field("callbackURL", request.callbackURL().absoluteString())
      .flag("credentials", true)
      .text();
}

std::optional<std::string_view> PartialRefundOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkTransactionId(request.transactionId())) return failure;
  if (request.amount() <= 0) return "Amount must be greater than zero.";
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  return checkRequiredCredentials(request.credentials());
}

void PartialRefundOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("transaction_id", request.transactionId());
  items.addText("amount", request.amount().text());
  items.add("return_url", request.callbackURL().absoluteString());
  addCredentials(items, request.credentials());
}

}  // namespace tilvanego::detail
