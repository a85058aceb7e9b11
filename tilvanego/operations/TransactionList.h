#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <tilvanego/frame/Cases.h>
#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/frame/RecordFields.h>
#include <tilvanego/frame/RequestRecord.h>
#include <tilvanego/operations/Transaction.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The fields of a `TransactionListRequest`.
struct TransactionListRequestFields {
  /// The host's own id for this request. A callback with another id fails with `requestIdMismatch`. The id is
  /// trimmed; an empty id is absent: it isn't sent, and a callback with any id is accepted.
  std::optional<std::string> requestId = std::nullopt;
  /// The URL that the payment application opens when it is done. Its scheme must be one that the system
  /// passes to the host.
  URL callbackURL;

  static constexpr std::size_t fieldCount = 2;
  bool operator==(const TransactionListRequestFields&) const = default;
};

/// A request for the transactions that the payment application has stored. An immutable value. It is checked
/// when it is started, not when it is constructed.
class TransactionListRequest
    : public RequestRecord<OperationKind::transactionList, TransactionListRequestFields> {
 public:
  /// Stores the URL unchanged and the id trimmed.
  explicit TransactionListRequest(Fields fields);

  [[nodiscard]] const std::optional<std::string>& requestId() const { return fields_.requestId; }
  [[nodiscard]] const URL& callbackURL() const { return fields_.callbackURL; }
};

/// The fields of a `TransactionListResponse`.
struct TransactionListResponseFields {
  /// The URL that was read.
  URL callbackURL;
  std::optional<std::string> requestId = std::nullopt;
  std::optional<std::string> status = std::nullopt;
  std::optional<std::string> errorCode = std::nullopt;
  std::optional<std::string> errorMessage = std::nullopt;
  /// The number in the callback, which may differ from the length of the list. Also absent if the item isn't
  /// an integer of 64 bits.
  std::optional<std::int64_t> transactionCount = std::nullopt;
  /// Empty unless the result is a success.
  std::vector<TilvaneGoTransaction> transactions = {};

  static constexpr std::size_t fieldCount = 7;
  bool operator==(const TransactionListResponseFields&) const = default;
};

/// The items of a transaction list's callback. Texts are percent-decoded but not trimmed. An immutable value.
class TransactionListResponse : public ResponseRecord<TransactionListResponseFields> {
 public:
  using ResponseRecord::ResponseRecord;

  [[nodiscard]] std::optional<std::int64_t> transactionCount() const { return fields_.transactionCount; }
  [[nodiscard]] const std::vector<TilvaneGoTransaction>& transactions() const { return fields_.transactions; }
};

/// The cases of `TransactionListError`, reached as `TransactionListError::InvalidRequest` and so on.
struct TransactionListErrorCases {
  /// The list in the callback isn't a JSON array of transactions. `reason` says where and why; it shows no
  /// values.
  struct DecodingFailed {
    static constexpr std::string_view name = "decodingFailed";
    std::string reason;
    [[nodiscard]] std::string description() const {
      return "Transaction list could not be decoded: " + reason;
    }
    bool operator==(const DecodingFailed&) const = default;
  };

  using InvalidRequest = cases::InvalidRequest;
  struct RequestIdMismatch : cases::RequestIdMismatch<"Transaction list"> {};
  struct TransactionListFailed : cases::FailedWithCode<"transactionListFailed", "Transaction list"> {};
  struct TransactionListAppNotInstalled
      : cases::Plain<"transactionListAppNotInstalled", cases::appNotInstalled> {};
  struct TransactionListInProgress
      : cases::Plain<"transactionListInProgress", "A transaction list request is already in progress."> {};
  struct InvalidCallback
      : cases::Plain<"invalidCallback", "The transaction list callback could not be parsed."> {};
  struct MissingStatus : cases::Plain<"missingStatus", "Transaction list callback is missing a status."> {};
  struct MissingTransactionList
      : cases::Plain<"missingTransactionList", "Transaction list callback is missing transactionList."> {};

  using Variant = std::variant<InvalidRequest, RequestIdMismatch, TransactionListFailed, DecodingFailed,
                               TransactionListAppNotInstalled, TransactionListInProgress, InvalidCallback,
                               MissingStatus, MissingTransactionList>;
};

/// Why a transaction list failed: one of the cases above.
class TransactionListError : public cases::ErrorUnion<TransactionListErrorCases> {
 public:
  using ErrorUnion::ErrorUnion;
};

/// How a transaction list ended: `Success` with the `response` of the callback and its transactions, or
/// `Failure` with an `error` and, if the items of a callback could be read, its `response`. One transaction
/// that can't be read fails the whole list.
class TransactionListResult
    : public cases::ResultUnion<TransactionListResponse, TransactionListError, cases::Success> {
 public:
  using ResultUnion::ResultUnion;
  using Success = cases::Success<TransactionListResponse>;
};

template <>
struct OperationRecords<OperationKind::transactionList>
    : RecordTypes<TransactionListRequest, TransactionListResult> {};

}  // namespace tilvanego
