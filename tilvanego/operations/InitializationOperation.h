#pragma once

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/operations/Initialization.h>
#include <tilvanego/values/Text.h>

namespace tilvanego::detail {

/// The description of the initialization.
struct InitializationOperation : OperationTypes<OperationKind::initialization> {
  static constexpr OperationTexts texts{
      .sending = "Sending Initialization Request - [",
      .opening = "Opening Tilvane payment app for initialization.",
      .urlLabel = "InitializationURL: ",
      .target = launchTarget("/v1/initialize"),
  };
  using InProgress = Error::InitializationInProgress;
  using AppNotInstalled = Error::InitializationAppNotInstalled;
  static constexpr bool passesOnUnmatched = true;

  [[nodiscard]] static std::string describe(const Request& request) {
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
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request) {
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
  static void addItems(const Request& request, LinkItems& items) {
    items.add("requestId", request.requestId());
    items.add("return_url", request.callbackURL().absoluteString());
    items.add("sourceApplication", request.sourceApplication());
    items.add("transport", "urlScheme");
    items.addIfPresent("basicToken", request.basicToken());
    items.addIfPresent("accountId", request.accountId());
    items.addIfPresent("environment", request.environment());
    items.addIfPresent("basePath", request.basePath());
  }

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      textKey<Fields, &Fields::message>("message", "processor_message", "processorMessage", "error"),
  };

  static constexpr std::array statusWords{wordsFor<Result, Result::Initialized>("initialized")};
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::InitializationFailed{callback.status};
  }
};

}  // namespace tilvanego::detail
