#include <tilvanego/operations/TransactionListOperation.h>

#include <utility>
#include <vector>

#include <tilvanego/frame/RequestDescription.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/values/Text.h>

namespace tilvanego {

TransactionListRequest::TransactionListRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  auto& id = fields_.requestId;
  if (!id) return;
  id = std::string(trimmed(*id));
  if (id->empty()) id.reset();
}

}  // namespace tilvanego

namespace tilvanego::detail {

std::string TransactionListOperation::describe(const Request& request) {
  return RequestDescription("TransactionListRequest")
      .field("requestId", orNil(request.requestId()))
      .field("callbackURL", request.callbackURL().absoluteString())
      .text();
}

std::optional<std::string_view> TransactionListOperation::validate(const Request& request) {
  return checkCallbackURL(request.callbackURL());
}

void TransactionListOperation::addItems(const Request& request, LinkItems& items) {
  items.add("return_url", request.callbackURL().absoluteString());
  items.addIfPresent("request_id", request.requestId());
}

namespace {

struct ListText {
  std::optional<std::string> json;
};
constexpr std::array listKeys{textKey<ListText, &ListText::json>(TransactionListOperation::listNames[0],
                                                                 TransactionListOperation::listNames[1])};
constexpr CallbackKeyIndex listKeyIndex{listKeys};

}  // namespace

TransactionListResult TransactionListOperation::decodeList(Fields&& fields) {
  const auto failure = [&fields](Error error) -> Result {
    return Result::Failure{std::move(error), Response(std::move(fields))};
  };
  ListText list;
  readCallback<listKeys, listKeyIndex>(fields.callbackURL, list);
  if (!list.json) return failure(Error::MissingTransactionList{});
  auto transactions = json::decode<std::vector<TilvaneGoTransaction>>(*list.json);
  if (!transactions) return failure(Error::DecodingFailed{transactions.error().description()});
  fields.transactions = *std::move(transactions);
  return Result::Success{Response(std::move(fields))};
}

}  // namespace tilvanego::detail
