#include <tilvanego/operations/SaveOperation.h>

#include <tilvanego/frame/RequestDescription.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/payment/CredentialRules.h>
#include <tilvanego/values/Text.h>

namespace tilvanego {

SaveRequest::SaveRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.currency = uppercased(trimmed(fields_.currency));
}

}  // namespace tilvanego

namespace tilvanego::detail {

std::string SaveOperation::describe(const Request& request) {
  return RequestDescription("SaveRequest")
      .field("requestId", request.requestId())
      .field("currency", request.currency())
      .field("callbackURL", request.callbackURL().absoluteString())
      .field("customId", orNil(request.customId()))
      .field("notes", request.notes() ? "present" : "nil")
      .flag("credentials", request.credentials().has_value())
      .text();
}

std::optional<std::string_view> SaveOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  if (auto failure = checkCurrency(request.currency())) return failure;
  return checkOptionalCredentials(request.credentials());
}

void SaveOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("return_url", request.callbackURL().absoluteString());
  items.add("currency", request.currency());
  items.addIfPresent("custom_id", request.customId());
  items.addIfPresent("notes", request.notes());
  if (request.credentials()) addCredentials(items, *request.credentials());
}

}  // namespace tilvanego::detail
