#pragma once

#include <functional>
#include <optional>
#include <string>

#include <tilvanego/facade/TilvaneGoSDK.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The public functions of one operation, for code that treats every operation alike.
template <OperationKind kind>
struct OperationFunctions {
  using Request = typename OperationRecords<kind>::Request;
  using Result = typename OperationRecords<kind>::Result;
  using Completion = std::function<void(const Result& result)>;

  void (TilvaneGo::*start)(Request request, Completion completion);
  bool (TilvaneGo::*isInProgress)() const;
  void (TilvaneGo::*cancel)();
  bool (TilvaneGo::*isCallback)(const URL& url) const;
  std::optional<Result> (TilvaneGo::*result)(const URL& url) const;
  std::optional<Result> (*parse)(URL url, const std::optional<std::string>& expectedRequestId,
                                 const std::optional<URL>& expectedCallbackURL);
  std::optional<Request> (TilvaneGo::*resume)(Completion completion);
  bool (TilvaneGo::*forgetInterrupted)();
  Task<Result> (TilvaneGo::*await)(Request request, OperationWaiting waiting);
};

/// The functions of one operation: `(sdk.*operationFunctions<kind>.cancel)()`.
template <OperationKind kind>
inline constexpr OperationFunctions<kind> operationFunctions;

template <>
inline constexpr OperationFunctions<OperationKind::payment> operationFunctions<OperationKind::payment>{
    &TilvaneGo::startPayment,         &TilvaneGo::isPaymentInProgress,
    &TilvaneGo::cancelPendingPayment, &TilvaneGo::isPaymentCallback,
    &TilvaneGo::paymentResult,        &TilvaneGo::parsePaymentResult,
    &TilvaneGo::resumePayment,        &TilvaneGo::forgetInterruptedPayment,
    &TilvaneGo::startPayment};
template <>
inline constexpr OperationFunctions<OperationKind::initialization>
    operationFunctions<OperationKind::initialization>{&TilvaneGo::initialize,
                                                      &TilvaneGo::isInitializationInProgress,
                                                      &TilvaneGo::cancelPendingInitialization,
                                                      &TilvaneGo::isInitializationCallback,
                                                      &TilvaneGo::initializationResult,
                                                      &TilvaneGo::parseInitializationResult,
                                                      &TilvaneGo::resumeInitialization,
                                                      &TilvaneGo::forgetInterruptedInitialization,
                                                      &TilvaneGo::initialize};
template <>
inline constexpr OperationFunctions<OperationKind::transactionList>
    operationFunctions<OperationKind::transactionList>{&TilvaneGo::getTransactionList,
                                                       &TilvaneGo::isTransactionListInProgress,
                                                       &TilvaneGo::cancelPendingTransactionList,
                                                       &TilvaneGo::isTransactionListCallback,
                                                       &TilvaneGo::transactionListResult,
                                                       &TilvaneGo::parseTransactionListResult,
                                                       &TilvaneGo::resumeTransactionList,
                                                       &TilvaneGo::forgetInterruptedTransactionList,
                                                       &TilvaneGo::getTransactionList};
template <>
inline constexpr OperationFunctions<OperationKind::fullRefund> operationFunctions<OperationKind::fullRefund>{
    &TilvaneGo::fullRefund,
    &TilvaneGo::isFullRefundInProgress,
    &TilvaneGo::cancelPendingFullRefund,
    &TilvaneGo::isFullRefundCallback,
    &TilvaneGo::fullRefundResult,
    &TilvaneGo::parseFullRefundResult,
    &TilvaneGo::resumeFullRefund,
    &TilvaneGo::forgetInterruptedFullRefund,
    &TilvaneGo::fullRefund};
template <>
inline constexpr OperationFunctions<OperationKind::partialRefund>
    operationFunctions<OperationKind::partialRefund>{&TilvaneGo::partialRefund,
                                                     &TilvaneGo::isPartialRefundInProgress,
                                                     &TilvaneGo::cancelPendingPartialRefund,
                                                     &TilvaneGo::isPartialRefundCallback,
                                                     &TilvaneGo::partialRefundResult,
                                                     &TilvaneGo::parsePartialRefundResult,
                                                     &TilvaneGo::resumePartialRefund,
                                                     &TilvaneGo::forgetInterruptedPartialRefund,
                                                     &TilvaneGo::partialRefund};
template <>
inline constexpr OperationFunctions<OperationKind::capture> operationFunctions<OperationKind::capture>{
    &TilvaneGo::capture,
    &TilvaneGo::isCaptureInProgress,
    &TilvaneGo::cancelPendingCapture,
    &TilvaneGo::isCaptureCallback,
    &TilvaneGo::captureResult,
    &TilvaneGo::parseCaptureResult,
    &TilvaneGo::resumeCapture,
    &TilvaneGo::forgetInterruptedCapture,
    &TilvaneGo::capture};
template <>
inline constexpr OperationFunctions<OperationKind::clearData> operationFunctions<OperationKind::clearData>{
    &TilvaneGo::clearData,
    &TilvaneGo::isClearDataInProgress,
    &TilvaneGo::cancelPendingClearData,
    &TilvaneGo::isClearDataCallback,
    &TilvaneGo::clearDataResult,
    &TilvaneGo::parseClearDataResult,
    &TilvaneGo::resumeClearData,
    &TilvaneGo::forgetInterruptedClearData,
    &TilvaneGo::clearData};
template <>
inline constexpr OperationFunctions<OperationKind::reboot> operationFunctions<OperationKind::reboot>{
    &TilvaneGo::reboot,
    &TilvaneGo::isRebootInProgress,
    &TilvaneGo::cancelPendingReboot,
    &TilvaneGo::isRebootCallback,
    &TilvaneGo::rebootResult,
    &TilvaneGo::parseRebootResult,
    &TilvaneGo::resumeReboot,
    &TilvaneGo::forgetInterruptedReboot,
    &TilvaneGo::reboot};
template <>
inline constexpr OperationFunctions<OperationKind::save> operationFunctions<OperationKind::save>{
    &TilvaneGo::save,
    &TilvaneGo::isSaveInProgress,
    &TilvaneGo::cancelPendingSave,
    &TilvaneGo::isSaveCallback,
    &TilvaneGo::saveResult,
    &TilvaneGo::parseSaveResult,
    &TilvaneGo::resumeSave,
    &TilvaneGo::forgetInterruptedSave,
    &TilvaneGo::save};

}  // namespace tilvanego
