#pragma once

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/operations/FullRefundOperation.h>
#include <tilvanego/operations/PartialRefund.h>

namespace tilvanego::detail {

/// The description of the partial refund.
struct PartialRefundOperation : OperationTypes<OperationKind::partialRefund> {
  static constexpr OperationTexts texts{
      .sending = "Sending Partial Refund Request - [",
      .opening = "Opening Tilvane payment app for partial refund.",
      .urlLabel = "PartialRefundURL: ",
      .target = launchTarget("/v1/refund"),
  };
  using InProgress = Error::PartialRefundInProgress;
  using AppNotInstalled = Error::PartialRefundAppNotInstalled;
  using BlockedBy = OperationList<PartialRefundOperation, FullRefundOperation>;

  [[nodiscard]] static std::string describe(const Request& request) {
    return RequestDescription("PartialRefundRequest")
        .field("requestId", request.requestId())
        .field("transactionId", request.transactionId())
        .field("amount", request.amount().text())
        .field("callbackURL", request.callbackURL().absoluteString())
        .flag("credentials", true)
        .text();
  }
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request) {
    if (auto failure = checkRequestId(request.requestId())) return failure;
    if (auto failure = checkTransactionId(request.transactionId())) return failure;
    if (request.amount() <= 0) return "Amount must be greater than zero.";
    if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
    return checkRequiredCredentials(request.credentials());
  }
  static void addItems(const Request& request, LinkItems& items) {
    items.add("request_id", request.requestId());
    items.add("transaction_id", request.transactionId());
    items.addText("amount", request.amount().text());
    items.add("return_url", request.callbackURL().absoluteString());
    addCredentials(items, request.credentials());
  }

  static constexpr auto callbackKeys = FullRefundOperation::callbackKeys;
  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("success", "succeeded", "completed", "approved", "refunded"),
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::PartialRefundFailed{callback.errorCode, callback.errorMessage};
  }
};

}  // namespace tilvanego::detail
