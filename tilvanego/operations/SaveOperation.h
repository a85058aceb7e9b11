#pragma once

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/operations/Save.h>
#include <tilvanego/payment/PaymentOperation.h>

namespace tilvanego::detail {

/// The description of the save.
struct SaveOperation : OperationTypes<OperationKind::save> {
  static constexpr OperationTexts texts{
      .sending = "Sending Save Request - [",
      .opening = "Opening Tilvane payment app for save.",
      .urlLabel = "SaveURL: ",
      .target = launchTarget("/v1/save"),
  };
  using InProgress = Error::SaveInProgress;
  using AppNotInstalled = Error::SaveAppNotInstalled;

  [[nodiscard]] static std::string describe(const Request& request) {
    return RequestDescription("SaveRequest")
        .field("requestId", request.requestId())
        .field("currency", request.currency())
        .field("callbackURL", request.callbackURL().absoluteString())
        .field("customId", orNil(request.customId()))
        .field("notes", request.notes() ? "present" : "nil")
        .flag("credentials", request.credentials().has_value())
        .text();
  }
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request) {
    if (auto failure = checkRequestId(request.requestId())) return failure;
    if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
    if (auto failure = checkCurrency(request.currency())) return failure;
    return checkOptionalCredentials(request.credentials());
  }
  static void addItems(const Request& request, LinkItems& items) {
    items.add("request_id", request.requestId());
    items.add("return_url", request.callbackURL().absoluteString());
    items.add("currency", request.currency());
    items.addIfPresent("custom_id", request.customId());
    items.addIfPresent("notes", request.notes());
    if (request.credentials()) addCredentials(items, *request.credentials());
  }

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

  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("approved", "success", "succeeded", "completed", "saved"),
      cancelledWords<Result>,
      declinedWords<Result>,
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::SaveFailed{callback.errorCode, callback.errorMessage};
  }
};

}  // namespace tilvanego::detail
