#include <tilvanego/operations/InitializationOperation.h>

#include <tilvanego/frame/RequestDescription.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego {

InitializationRequest::InitializationRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  // A short text remains in the string that it was moved from.
  detail::wipe(fields.basicToken);
  if (auto& environment = fields_.environment) environment = uppercased(trimmed(*environment));
}

InitializationRequest& InitializationRequest::operator=(InitializationRequest other) noexcept {
  detail::wipe(fields_.basicToken);
  fields_ = std::move(other.fields_);
  return *this;
}

InitializationRequest::~InitializationRequest() { detail::wipe(fields_.basicToken); }

}  // namespace tilvanego

namespace tilvanego::detail {

std::string InitializationOperation::describe(const Request& request) {
  return RequestDescription("InitializationRequest")
      .field("requestId", request.requestId())
      .field("callbackURL", request.callbackURL().absoluteString())
      .field("sourceApplication", request.sourceApplication())
      .flag("basicToken", request.basicToken().has_value())
      .field("accountId", orNil(request.accountId()))
      .field("environment", orNil(request.environment()))
      .field("basePath", orNil(request.basePath()))
      .text();
}

std::optional<std::string_view> InitializationOperation::validate(const Request& request) {
  const auto isPresentButBlank = [](const std::optional<std::string>& text) {
    return text && isBlank(*text);
  };
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  if (isPresentButBlank(request.basicToken())) return "Basic token must not be empty when provided.";
  if (isPresentButBlank(request.accountId())) return "Account ID must not be empty when provided.";
  if (request.environment() && !isKnownEnvironment(*request.environment())) {
    return "Environment must be STAGING, CERT, or PROD.";
  }
  return std::nullopt;
}

void InitializationOperation::addItems(const Request& request, LinkItems& items) {
  items.add("requestId", request.requestId());
  items.add("return_url", request.callbackURL().absoluteString());
  items.add("sourceApplication", request.sourceApplication());
  items.add("transport", "urlScheme");
  items.addIfPresent("basicToken", request.basicToken());
  items.addIfPresent("accountId", request.accountId());
  items.addIfPresent("environment", request.environment());
  items.addIfPresent("basePath", request.basePath());
}

}  // namespace tilvanego::detail
