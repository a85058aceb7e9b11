#include <tilvanego/operations/RebootOperation.h>

#include <tilvanego/frame/RequestDescription.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/values/Text.h>

namespace tilvanego {

RebootRequest::RebootRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
}

}  // namespace tilvanego

namespace tilvanego::detail {

std::string RebootOperation::describe(const Request& request) {
  return RequestDescription("RebootRequest")
      .field("requestId", request.requestId())
      .field("callbackURL", request.callbackURL().absoluteString())
      .text();
}

std::optional<std::string_view> RebootOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  return checkCallbackURL(request.callbackURL());
}

void RebootOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("return_url", request.callbackURL().absoluteString());
}

}  // namespace tilvanego::detail
