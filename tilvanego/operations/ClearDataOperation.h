#pragma once

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/operations/ClearData.h>

namespace tilvanego::detail {

/// The description of the clear-data operation.
struct ClearDataOperation : OperationTypes<OperationKind::clearData> {
  static constexpr OperationTexts texts{
      .sending = "Sending Clear Data Request - [",
      .opening = "Opening Tilvane payment app for clear data.",
      .urlLabel = "ClearDataURL: ",
      .target = launchTarget("/v1/clear_data"),
  };
  using InProgress = Error::ClearDataInProgress;
  using AppNotInstalled = Error::ClearDataAppNotInstalled;

  [[nodiscard]] static std::string describe(const Request& request) {
    return RequestDescription("ClearDataRequest")
        .field("requestId", request.requestId())
        .field("callbackURL", request.callbackURL().absoluteString())
        .field("amount", orNil(request.amount()))
        .field("timeout", orNil(request.timeout()))
        .text();
  }
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request) {
    if (auto failure = checkRequestId(request.requestId())) return failure;
    if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
    if (request.amount() && *request.amount() <= 0) return "Amount must be greater than zero when provided.";
    if (request.timeout() && *request.timeout() <= 0)
      return "Timeout must be greater than zero when provided.";
    return std::nullopt;
  }
  static void addItems(const Request& request, LinkItems& items) {
    items.add("request_id", request.requestId());
    items.add("return_url", request.callbackURL().absoluteString());
    if (request.amount()) items.addText("amount", request.amount()->text());
    if (request.timeout()) items.addText("timeout", std::to_string(*request.timeout()));
  }

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      textKey<Fields, &Fields::clearPan>("clear_pan", "clearPan"),
      textKey<Fields, &Fields::clearTrack2>("clear_track2", "clearTrack2"),
      errorCodeKey<Fields>,
      errorMessageKey<Fields>,
  };

  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("returned", "success", "succeeded", "completed"),
      wordsFor<Result, Result::Masked>("data_masked", "datamasked", "masked"),
      cancelledWords<Result>,
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::ClearDataFailed{callback.errorCode, callback.errorMessage};
  }
};

}  // namespace tilvanego::detail
