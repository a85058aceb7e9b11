#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <tilvanego/frame/CommonTables.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/ClearData.h>

namespace tilvanego::detail {

/// The description of the clear-data operation.
struct ClearDataOperation : OperationTypes<OperationKind::clearData> {
  static constexpr OperationTexts texts{
      .sending = "Sending Clear Data Request - [",
      .buildFailure = "Unable to build Tilvane clear data URL.",
      .opening = "Opening Tilvane payment app for clear data.",
      .urlLabel = "ClearDataURL: ",
      .target = launchTarget("/v1/clear_data"),
      .unmatchedCallback = "Ignored callback that did not match the active clear data return URL.",
  };
  using InProgress = Error::ClearDataInProgress;
  using AppNotInstalled = Error::ClearDataAppNotInstalled;

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      textKey<Fields, &Fields::clearPan>("clear_pan", "clearPan"),
      textKey<Fields, &Fields::clearTrack2>("clear_track2", "clearTrack2"),
      errorCodeKey<Fields>,
      errorMessageKey<Fields>,
  };
  static constexpr CallbackKeyIndex callbackKeyIndex{callbackKeys};

  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("returned", "success", "succeeded", "completed"),
      wordsFor<Result, Result::Masked>("data_masked", "datamasked", "masked"),
      cancelledWords<Result>,
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::ClearDataFailed{callback.errorCode, callback.errorMessage};
  }
};

template <>
struct OperationOf<OperationKind::clearData> : std::type_identity<ClearDataOperation> {};

}  // namespace tilvanego::detail
