#include <tilvanego/operations/CaptureOperation.h>

#include <tilvanego/frame/RequestDescription.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/Text.h>

namespace tilvanego {

CaptureRequest::CaptureRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.transactionId = std::string(trimmed(fields_.transactionId));
  fields_.amount = std::string(trimmed(fields_.amount));
}

}  // namespace tilvanego

namespace tilvanego::detail {

std::string CaptureOperation::describe(const Request& request) {
  return RequestDescription("CaptureRequest")
      .field("requestId", request.requestId())
      .field("transactionId", request.transactionId())
      .field("amount", request.amount())
      .field("callbackURL", request.callbackURL().absoluteString())
      .text();
}

std::optional<std::string_view> CaptureOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkTransactionId(request.transactionId())) return failure;
  const auto amount = Decimal::parse(request.amount());
  if (!amount || *amount <= 0) return "Amount must be a decimal value greater than zero.";
  return checkCallbackURL(request.callbackURL());
}

void CaptureOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("transaction_id", request.transactionId());
  items.add("amount", request.amount());
  items.add("return_url", request.callbackURL().absoluteString());
}

}  // namespace tilvanego::detail
