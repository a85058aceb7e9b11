#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/payment/PaymentResult.h>

namespace tilvanego::detail {

/// The description of the payment.
struct PaymentOperation : OperationTypes<OperationKind::payment> {
  static constexpr OperationTexts texts{
      .sending = "Sending Request - [",
      .opening = "Opening Tilvane payment app.",
      .urlLabel = "InlinePaymentUrl: ",
      .target = launchTarget("/v1/start"),
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

/// Compiled once, since all transports of a payment end with it.
extern template std::optional<PaymentResult> parseCallback<PaymentOperation>(
    URL&& url, const std::string* expectedRequestId, const URL* expectedCallbackURL);

// The checks and the query items of credentials, for every request that has them.

/// Checks credentials that a request must have. Returns the message of the first failure, or nothing.
[[nodiscard]] std::optional<std::string_view> checkRequiredCredentials(const PaymentCredentials& credentials);

/// The same for credentials that a request may leave out.
[[nodiscard]] std::optional<std::string_view> checkOptionalCredentials(
    const std::optional<PaymentCredentials>& credentials);

/// Adds credentials to a link. `redactedURLText` hides the token by the name of its item.
void addCredentials(LinkItems& items, const PaymentCredentials& credentials);

}  // namespace tilvanego::detail
