#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <tilvanego/frame/CommonTables.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/Save.h>

namespace tilvanego::detail {

/// The description of the save.
struct SaveOperation : OperationTypes<OperationKind::save> {
  static constexpr OperationTexts texts{
      .sending = "Sending Save Request - [",
      .buildFailure = "Unable to build Tilvane save URL.",
      .opening = "Opening Tilvane payment app for save.",
      .urlLabel = "SaveURL: ",
      .target = launchTarget("/v1/save"),
      .unmatchedCallback = "Ignored callback that did not match the active save return URL.",
  };
  using InProgress = Error::SaveInProgress;
  using AppNotInstalled = Error::SaveAppNotInstalled;

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      transactionIdKey<Fields>,
      textKey<Fields, &Fields::approvalCode>("approval_code", "approvalCode", "auth_code", "authCode"),
      textKey<Fields, &Fields::processorMessage>("processor_message", "processorMessage", "message"),
      textKey<Fields, &Fields::entryMode>("entry_mode", "entryMode"),
      textKey<Fields, &Fields::cardBrand>("card_brand", "cardBrand"),
      textKey<Fields, &Fields::cardLast4>("card_last4", "cardLast4"),
      errorCodeKey<Fields>,
      // Without "message": in this operation it is the processor's message.
      textKey<Fields, &Fields::errorMessage>("error_message", "errorMessage"),
  };
  static constexpr CallbackKeyIndex callbackKeyIndex{callbackKeys};

  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("approved", "success", "succeeded", "completed", "saved"),
      cancelledWords<Result>,
      declinedWords<Result>,
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::SaveFailed{callback.errorCode, callback.errorMessage};
  }
};

template <>
struct OperationOf<OperationKind::save> : std::type_identity<SaveOperation> {};

}  // namespace tilvanego::detail
