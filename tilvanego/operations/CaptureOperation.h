#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <tilvanego/frame/CommonTables.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/Capture.h>

namespace tilvanego::detail {

/// The description of the capture.
struct CaptureOperation : OperationTypes<OperationKind::capture> {
  static constexpr OperationTexts texts{
      .sending = "Sending Capture Request - [",
      .buildFailure = "Unable to build Tilvane capture URL.",
      .opening = "Opening Tilvane payment app for capture.",
      .urlLabel = "CaptureURL: ",
      .target = launchTarget("/v1/capture"),
      .unmatchedCallback = "Ignored callback that did not match the active capture return URL.",
  };
  using InProgress = Error::CaptureInProgress;
  using AppNotInstalled = Error::CaptureAppNotInstalled;

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

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
  static constexpr CallbackKeyIndex callbackKeyIndex{callbackKeys};

  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("success", "succeeded", "completed", "approved", "captured"),
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::CaptureFailed{callback.errorCode, callback.errorMessage};
  }
};

template <>
struct OperationOf<OperationKind::capture> : std::type_identity<CaptureOperation> {};

}  // namespace tilvanego::detail
