#include <tilvanego/operations/FullRefundOperation.h>

#include <tilvanego/frame/RequestDescription.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/payment/CredentialRules.h>
#include <tilvanego/values/Text.h>

namespace tilvanego {

FullRefundRequest::FullRefundRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.transactionId = std::string(trimmed(fields_.transactionId));
}

}  // namespace tilvanego

namespace tilvanego::detail {

std::string FullRefundOperation::describe(const Request& request) {
  return RequestDescription("FullRefundRequest")
      .field("requestId", request.requestId())
      .field("transactionId", request.transactionId())
      .field("callbackURL", request.callbackURL().absoluteString())
      .flag("credentials", true)
      .text();
}

std::optional<std::string_view> FullRefundOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkTransactionId(request.transactionId())) return failure;
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  return checkRequiredCredentials(request.credentials());
}

void FullRefundOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("transaction_id", request.transactionId());
  items.add("return_url", request.callbackURL().absoluteString());
  addCredentials(items, request.credentials());
}

}  // namespace tilvanego::detail
