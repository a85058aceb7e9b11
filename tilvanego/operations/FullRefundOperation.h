#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/FullRefund.h>
#include <tilvanego/operations/RefundTables.h>

namespace tilvanego::detail {

struct PartialRefundOperation;

/// The description of the full refund.
struct FullRefundOperation : OperationTypes<OperationKind::fullRefund> {
  static constexpr OperationTexts texts{
      .sending = "Sending Full Refund Request - [",
      .buildFailure = "Unable to build Tilvane full refund URL.",
      .opening = "Opening Tilvane payment app for full refund.",
      .urlLabel = "FullRefundURL: ",
      .target = launchTarget("/v1/full_refund"),
      .unmatchedCallback = "Ignored callback that did not match the active full refund return URL.",
  };
  using InProgress = Error::FullRefundInProgress;
  using AppNotInstalled = Error::FullRefundAppNotInstalled;
  using BlockedBy = OperationList<FullRefundOperation, PartialRefundOperation>;

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

  static constexpr auto callbackKeys = refundCallbackKeys<Fields>;
  static constexpr CallbackKeyIndex callbackKeyIndex{callbackKeys};
  static constexpr auto statusWords = refundStatusWords<Result>;
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::FullRefundFailed{callback.errorCode, callback.errorMessage};
  }
};

template <>
struct OperationOf<OperationKind::fullRefund> : std::type_identity<FullRefundOperation> {};

}  // namespace tilvanego::detail
