#pragma once

#include <array>
#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/frame/CommonTables.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/payment/PaymentResult.h>

namespace tilvanego::detail {

/// The description of the payment.
struct PaymentOperation : OperationTypes<OperationKind::payment> {
  static constexpr OperationTexts texts{
      .sending = "Sending Request - [",
      .buildFailure = "Unable to build Tilvane payment URL.",
      .opening = "Opening Tilvane payment app.",
      .urlLabel = "InlinePaymentUrl: ",
      .target = launchTarget("/v1/start"),
      .unmatchedCallback = "Ignored callback that did not match the active payment return URL.",
  };
  using InProgress = PaymentError::PaymentInProgress;
  using AppNotInstalled = PaymentError::PaymentAppNotInstalled;

  [[nodiscard]] static std::string describe(const PaymentRequest& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const PaymentRequest& request);
  static void addItems(const PaymentRequest& request, LinkItems& items);

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      textKey<Fields, &Fields::processorMessage>("processor_message", "processorMessage", "message"),
      textKey<Fields, &Fields::approvalCode>("approval_code", "approvalCode"),
      transactionIdKey<Fields>,
      textKey<Fields, &Fields::customId>("custom_id", "customId"),
  };

  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("approved", "success", "succeeded", "completed"),
      cancelledWords<Result>,
      declinedWords<Result>,
  };
  [[nodiscard]] static PaymentError failed(const Fields& callback) {
    return PaymentError::PaymentFailed{callback.status};
  }
};

}  // namespace tilvanego::detail
