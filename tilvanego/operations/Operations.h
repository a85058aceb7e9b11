#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/Records.h>
#include <tilvanego/payment/PaymentOperation.h>

/// The descriptions of the operations; that of the payment is in `PaymentOperation.h`.
namespace tilvanego::detail {

/// The description of the initialization.
struct InitializationOperation : OperationTypes<OperationKind::initialization> {
  static constexpr OperationTexts texts{
      .sending = "Sending Initialization Request - [",
      .opening = "Opening Tilvane payment app for initialization.",
      .urlLabel = "InitializationURL: ",
      .target = launchTarget("/v1/initialize"),
  };
  using InProgress = Error::InitializationInProgress;
  using AppNotInstalled = Error::InitializationAppNotInstalled;
  static constexpr bool passesOnUnmatched = true;

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      textKey<Fields, &Fields::message>("message", "processor_message", "processorMessage", "error"),
  };

  static constexpr std::array statusWords{wordsFor<Result, Result::Initialized>("initialized")};
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::InitializationFailed{callback.status};
  }
};

/// The description of the transaction list.
struct TransactionListOperation : OperationTypes<OperationKind::transactionList> {
  static constexpr OperationTexts texts{
      .sending = "Sending Transaction List Request - [",
      .opening = "Opening Tilvane payment app for transaction list.",
      .urlLabel = "TransactionListURL: ",
      .target = launchTarget("/v1/getTransactionList"),
  };
  using InProgress = Error::TransactionListInProgress;
  using AppNotInstalled = Error::TransactionListAppNotInstalled;

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      integerKey<Fields, &Fields::transactionCount>("transaction_count", "transactionCount"),
      statusKey<Fields>,
      // Without "code": this operation doesn't accept it.
      textKey<Fields, &Fields::errorCode>("error_code", "errorCode"),
      errorMessageKey<Fields>,
  };

  /// The names of the item with the list, which only a success has.
  static constexpr std::array<std::string_view, 2> listNames{"transactionList", "transaction_list"};
  /// Reads the list from its item.
  [[nodiscard]] static Result decodeList(Fields&& fields);

  static constexpr std::array statusWords{
      StatusWords<Result>{
          {"success", "succeeded", "completed"},
          [](std::optional<Result>& result, Fields& fields) { result = decodeList(std::move(fields)); }},
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::TransactionListFailed{callback.errorCode, callback.errorMessage};
  }
};

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

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

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

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

  static constexpr auto callbackKeys = FullRefundOperation::callbackKeys;
  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("success", "succeeded", "completed", "approved", "refunded"),
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::PartialRefundFailed{callback.errorCode, callback.errorMessage};
  }
};

/// The description of the capture.
struct CaptureOperation : OperationTypes<OperationKind::capture> {
  static constexpr OperationTexts texts{
      .sending = "Sending Capture Request - [",
      .opening = "Opening Tilvane payment app for capture.",
      .urlLabel = "CaptureURL: ",
      .target = launchTarget("/v1/capture"),
  };
  using InProgress = Error::CaptureInProgress;
  using AppNotInstalled = Error::CaptureAppNotInstalled;

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      textKey<Fields, &Fields::type>("type", "transaction_type", "transactionType"),
      transactionIdKey<Fields>,
      textKey<Fields, &Fields::approvedAmount>("approved_amount", "approvedAmount"),
      textKey<Fields, &Fields::originalTransactionId>("original_transaction_id", "originalTransactionId"),
      errorCodeKey<Fields>,
      errorMessageKey<Fields>,
  };

  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("success", "succeeded", "completed", "approved", "captured"),
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::CaptureFailed{callback.errorCode, callback.errorMessage};
  }
};

/// The description of the clear-data operation.
struct ClearDataOperation : OperationTypes<OperationKind::clearData> {
  static constexpr OperationTexts texts{
      .sending = "Sending Clear Data Request - [",
      .opening = "Opening Tilvane payment app for clear data.",
      .urlLabel = "ClearDataURL: ",
      .target = launchTarget("/v1/clear_data"),
  };
  using InProgress = Error::ClearDataInProgress;
  using AppNotInstalled = Error::ClearDataAppNotInstalled;

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      textKey<Fields, &Fields::clearPan>("clear_pan", "clearPan"),
      textKey<Fields, &Fields::clearTrack2>("clear_track2", "clearTrack2"),
      errorCodeKey<Fields>,
      errorMessageKey<Fields>,
  };

  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("returned", "success", "succeeded", "completed"),
      wordsFor<Result, Result::Masked>("data_masked", "datamasked", "masked"),
      cancelledWords<Result>,
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::ClearDataFailed{callback.errorCode, callback.errorMessage};
  }
};

/// The description of the reboot.
struct RebootOperation : OperationTypes<OperationKind::reboot> {
  static constexpr OperationTexts texts{
      .sending = "Sending Reboot Request - [",
      .opening = "Opening Tilvane payment app for reboot.",
      .urlLabel = "RebootURL: ",
      .target = launchTarget("/v1/reboot"),
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

  static constexpr std::array statusWords{wordsFor<Result, Result::Success>("rebooted")};
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::RebootFailed{callback.errorCode, callback.errorMessage};
  }
};

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

  static constexpr std::array statusWords{
      wordsFor<Result, Result::Success>("approved", "success", "succeeded", "completed", "saved"),
      cancelledWords<Result>,
      declinedWords<Result>,
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::SaveFailed{callback.errorCode, callback.errorMessage};
  }
};

/// The description of the operation of a kind.
using OperationDescriptions =
    std::tuple<PaymentOperation, InitializationOperation, TransactionListOperation, FullRefundOperation,
               PartialRefundOperation, CaptureOperation, ClearDataOperation, RebootOperation, SaveOperation>;
template <OperationKind kind>
  requires(std::tuple_element_t<static_cast<std::size_t>(kind), OperationDescriptions>::kind == kind)
using OperationOf = std::tuple_element_t<static_cast<std::size_t>(kind), OperationDescriptions>;

}  // namespace tilvanego::detail
