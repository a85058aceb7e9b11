#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <tilvanego/frame/CommonTables.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/Reboot.h>

namespace tilvanego::detail {

/// The description of the reboot.
struct RebootOperation : OperationTypes<OperationKind::reboot> {
  static constexpr OperationTexts texts{
      .sending = "Sending Reboot Request - [",
      .buildFailure = "Unable to build Tilvane reboot URL.",
      .opening = "Opening Tilvane payment app for reboot.",
      .urlLabel = "RebootURL: ",
      .target = launchTarget("/v1/reboot"),
      .unmatchedCallback = "Ignored callback that did not match the active reboot return URL.",
  };
  using InProgress = Error::RebootInProgress;
  using AppNotInstalled = Error::RebootAppNotInstalled;

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      integerKey<Fields, &Fields::responseCode>("response_code", "responseCode"),
      textKey<Fields, &Fields::readerSerial>("reader_serial", "readerSerial"),
      errorCodeKey<Fields>,
      errorMessageKey<Fields>,
  };
  static constexpr CallbackKeyIndex callbackKeyIndex{callbackKeys};

  static constexpr std::array statusWords{wordsFor<Result, Result::Success>("rebooted")};
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::RebootFailed{callback.errorCode, callback.errorMessage};
  }
};

template <>
struct OperationOf<OperationKind::reboot> : std::type_identity<RebootOperation> {};

}  // namespace tilvanego::detail
