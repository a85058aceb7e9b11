#pragma once

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/operations/Reboot.h>

namespace tilvanego::detail {

/// The description of the reboot.
struct RebootOperation : OperationTypes<OperationKind::reboot> {
  static constexpr OperationTexts texts{
      .sending = "Sending Reboot Request - [",
      .opening = "Opening Tilvane payment app for reboot.",
      .urlLabel = "RebootURL: ",
      .target = launchTarget("/v1/reboot"),
  };
  using InProgress = Error::RebootInProgress;
  using AppNotInstalled = Error::RebootAppNotInstalled;

  [[nodiscard]] static std::string describe(const Request& request) {
    return RequestDescription("RebootRequest")
        .field("requestId", request.requestId())
        .field("callbackURL", request.callbackURL().absoluteString())
        .text();
  }
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request) {
    if (auto failure = checkRequestId(request.requestId())) return failure;
    return checkCallbackURL(request.callbackURL());
  }
  static void addItems(const Request& request, LinkItems& items) {
    items.add("request_id", request.requestId());
    items.add("return_url", request.callbackURL().absoluteString());
  }

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      integerKey<Fields, &Fields::responseCode>("response_code", "responseCode"),
      textKey<Fields, &Fields::readerSerial>("reader_serial", "readerSerial"),
      errorCodeKey<Fields>,
      errorMessageKey<Fields>,
  };

  static constexpr std::array statusWords{wordsFor<Result, Result::Success>("rebooted")};
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::RebootFailed{callback.errorCode, callback.errorMessage};
  }
};

}  // namespace tilvanego::detail
