#include <tilvanego/operations/ClearDataOperation.h>

#include <tilvanego/frame/RequestDescription.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/values/Text.h>

namespace tilvanego {

ClearDataRequest::ClearDataRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
}

}  // namespace tilvanego

namespace tilvanego::detail {

std::string ClearDataOperation::describe(const Request& request) {
  return RequestDescription("ClearDataRequest")
      .field("requestId", request.requestId())
      .field("callbackURL", request.callbackURL().absoluteString())
      .field("amount", orNil(request.amount()))
      .field("timeout", orNil(request.timeout()))
      .text();
}

std::optional<std::string_view> ClearDataOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  if (request.amount() && *request.amount() <= 0) return "Amount must be greater than zero when provided.";
  if (request.timeout() && *request.timeout() <= 0) return "Timeout must be greater than zero when provided.";
  return std::nullopt;
}

void ClearDataOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("return_url", request.callbackURL().absoluteString());
  if (request.amount()) items.addText("amount", request.amount()->text());
  if (request.timeout()) items.addText("timeout", std::to_string(*request.timeout()));
}

}  // namespace tilvanego::detail
