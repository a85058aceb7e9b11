#pragma once

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/operations/FullRefund.h>
#include <tilvanego/payment/PaymentOperation.h>

namespace tilvanego::detail {

struct PartialRefundOperation;

/// The description of the full refund.
struct FullRefundOperation : OperationTypes<OperationKind::fullRefund> {
  static constexpr OperationTexts texts{
      .sending = "Sending Full Refund Request - [",
      .opening = "Opening Tilvane payment app for full refund.",
      .urlLabel = "FullRefundURL: ",
      .target = launchTarget("/v1/full_refund"),
  };
  using InProgress = Error::FullRefundInProgress;
  using AppNotInstalled = Error::FullRefundAppNotInstalled;
  using BlockedBy = OperationList<FullRefundOperation, PartialRefundOperation>;

  [[nodiscard]] static std::string describe(const Request& request) {
    return RequestDescription("FullRefundRequest")
        .field("requestId", request.requestId())
        .field("transactionId", request.transactionId())
        .field("callbackURL", request.callbackURL().absoluteString())
        .flag("credentials", true)
        .text();
  }
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request) {
    if (auto failure = checkRequestId(request.requestId())) return failure;
    if (auto failure = checkTransactionId(request.transactionId())) return failure;
    if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
    return checkRequiredCredentials(request.credentials());
  }
  static void addItems(const Request& request, LinkItems& items) {
    items.add("request_id", request.requestId());
    items.add("transaction_id", request.transactionId());
    items.add("return_url", request.callbackURL().absoluteString());
    addCredentials(items, request.credentials());
  }

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>, transactionIdKey<Fields>, statusKey<Fields>,
      errorCodeKey<Fields>, errorMessageKey<Fields>,
  };
  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("success", "succeeded", "completed", "approved", "refunded"),
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::FullRefundFailed{callback.errorCode, callback.errorMessage};
  }
};

}  // namespace tilvanego::detail
