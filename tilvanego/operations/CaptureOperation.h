#pragma once

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/operations/Capture.h>
#include <tilvanego/values/Decimal.h>

namespace tilvanego::detail {

/// The description of the capture.
struct CaptureOperation : OperationTypes<OperationKind::capture> {
  static constexpr OperationTexts texts{
      .sending = "Sending Capture Request - [",
      .opening = "Opening Tilvane payment app for capture.",
      .urlLabel = "CaptureURL: ",
      .target = launchTarget("/v1/capture"),
  };
  using InProgress = Error::CaptureInProgress;
  using AppNotInstalled = Error::CaptureAppNotInstalled;

  [[nodiscard]] static std::string describe(const Request& request) {
    return RequestDescription("CaptureRequest")
        .field("requestId", request.requestId())
        .field("transactionId", request.transactionId())
        .field("amount", request.amount())
        .field("callbackURL", request.callbackURL().absoluteString())
        .text();
  }
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request) {
    if (auto failure = checkRequestId(request.requestId())) return failure;
    if (auto failure = checkTransactionId(request.transactionId())) return failure;
    const auto amount = Decimal::parse(request.amount());
    if (!amount || *amount <= 0) return "Amount must be a decimal value greater than zero.";
    return checkCallbackURL(request.callbackURL());
  }
  static void addItems(const Request& request, LinkItems& items) {
    items.add("request_id", request.requestId());
    items.add("transaction_id", request.transactionId());
    items.add("amount", request.amount());
    items.add("return_url", request.callbackURL().absoluteString());
  }

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      textKey<Fields, &Fields::type>("type", "transaction_type", "transactionType"),
      transactionIdKey<Fields>,
      textKey<Fields, &Fields::approvedAmount>("approved_amount", "approvedAmount"),
      textKey<Fields, &Fields::originalTransactionId>("original_transaction_id", "originalTransactionId"),
      errorCodeKey<Fields>,
      errorMessageKey<Fields>,
  };

  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("success", "succeeded", "completed", "approved", "captured"),
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::CaptureFailed{callback.errorCode, callback.errorMessage};
  }
};

}  // namespace tilvanego::detail
