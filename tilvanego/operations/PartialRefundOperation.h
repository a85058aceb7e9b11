#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/PartialRefund.h>
#include <tilvanego/operations/RefundTables.h>

namespace tilvanego::detail {

struct FullRefundOperation;

/// The description of the partial refund.
struct PartialRefundOperation : OperationTypes<OperationKind::partialRefund> {
  static constexpr OperationTexts texts{
      .sending = "Sending Partial Refund Request - [",
      .buildFailure = "Unable to build Tilvane partial refund URL.",
      .opening = "Opening Tilvane payment app for partial refund.",
      .urlLabel = "PartialRefundURL: ",
      .target = launchTarget("/v1/refund"),
      .unmatchedCallback = "Ignored callback that did not match the active partial refund return URL.",
  };
  using InProgress = Error::PartialRefundInProgress;
  using AppNotInstalled = Error::PartialRefundAppNotInstalled;
  using BlockedBy = OperationList<PartialRefundOperation, FullRefundOperation>;

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

  static constexpr auto callbackKeys = refundCallbackKeys<Fields>;
  static constexpr CallbackKeyIndex callbackKeyIndex{callbackKeys};
  static constexpr auto statusWords = refundStatusWords<Result>;
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::PartialRefundFailed{callback.errorCode, callback.errorMessage};
  }
};

template <>
struct OperationOf<OperationKind::partialRefund> : std::type_identity<PartialRefundOperation> {};

}  // namespace tilvanego::detail
