#pragma once

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/operations/TransactionList.h>

namespace tilvanego::detail {

/// The text of a list, of the item that only a success has.
struct TransactionListText {
  std::optional<std::string> json;
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

  [[nodiscard]] static std::string describe(const Request& request) {
    return RequestDescription("TransactionListRequest")
        .field("requestId", orNil(request.requestId()))
        .field("callbackURL", request.callbackURL().absoluteString())
        .text();
  }
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request) {
    return checkCallbackURL(request.callbackURL());
  }
  static void addItems(const Request& request, LinkItems& items) {
    items.add("return_url", request.callbackURL().absoluteString());
    items.addIfPresent("request_id", request.requestId());
  }

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      integerKey<Fields, &Fields::transactionCount>("transaction_count", "transactionCount"),
      statusKey<Fields>,
      // Without "code": this operation doesn't accept it.
      textKey<Fields, &Fields::errorCode>("error_code", "errorCode"),
      errorMessageKey<Fields>,
  };

  static constexpr std::array listKeys{
      textKey<TransactionListText, &TransactionListText::json>("transactionList", "transaction_list"),
  };
  [[nodiscard]] static Result decodeList(Fields&& fields) {
    const auto failure = [&fields](Error error) -> Result {
      return Result::Failure{std::move(error), Response(std::move(fields))};
    };
    TransactionListText list;
    readCallback<listKeys>(fields.callbackURL, list);
    if (!list.json) return failure(Error::MissingTransactionList{});
    auto transactions = json::decode<std::vector<TilvaneGoTransaction>>(*list.json);
    if (!transactions) return failure(Error::DecodingFailed{transactions.error().description()});
    fields.transactions = *std::move(transactions);
    return Result::Success{Response(std::move(fields))};
  }

  static constexpr std::array statusWords{
      StatusWords<Result>{
          {"success", "succeeded", "completed"},
          [](std::optional<Result>& result, Fields& fields) { result = decodeList(std::move(fields)); }},
  };
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::TransactionListFailed{callback.errorCode, callback.errorMessage};
  }
};

}  // namespace tilvanego::detail
