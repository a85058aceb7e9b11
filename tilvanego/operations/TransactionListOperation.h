#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <tilvanego/frame/CommonTables.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/TransactionList.h>

namespace tilvanego::detail {

/// The description of the transaction list.
struct TransactionListOperation : OperationTypes<OperationKind::transactionList> {
  static constexpr OperationTexts texts{
      .sending = "Sending Transaction List Request - [",
      .buildFailure = "Unable to build Tilvane transaction list URL.",
      .opening = "Opening Tilvane payment app for transaction list.",
      .urlLabel = "TransactionListURL: ",
      .target = launchTarget("/v1/getTransactionList"),
      .unmatchedCallback = "Ignored callback that did not match the active transaction list return URL.",
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
  static constexpr CallbackKeyIndex callbackKeyIndex{callbackKeys};

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

template <>
struct OperationOf<OperationKind::transactionList> : std::type_identity<TransactionListOperation> {};

}  // namespace tilvanego::detail
