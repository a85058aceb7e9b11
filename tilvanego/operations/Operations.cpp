#include <tilvanego/operations/Operations.h>

#include <utility>
#include <vector>

#include <tilvanego/frame/Validation.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego {

InitializationRequest::InitializationRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  // A short text remains in the string that it was moved from.
  detail::wipe(fields.basicToken);
  if (auto& environment = fields_.environment) environment = uppercased(trimmed(*environment));
}

InitializationRequest& InitializationRequest::operator=(InitializationRequest other) noexcept {
  detail::wipe(fields_.basicToken);
  fields_ = std::move(other.fields_);
  return *this;
}

InitializationRequest::~InitializationRequest() { detail::wipe(fields_.basicToken); }

TransactionListRequest::TransactionListRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  auto& id = fields_.requestId;
  if (!id) return;
  id = std::string(trimmed(*id));
  if (id->empty()) id.reset();
}

FullRefundRequest::FullRefundRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.transactionId = std::string(trimmed(fields_.transactionId));
}

PartialRefundRequest::PartialRefundRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.transactionId = std::string(trimmed(fields_.transactionId));
}

CaptureRequest::CaptureRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.transactionId = std::string(trimmed(fields_.transactionId));
  fields_.amount = std::string(trimmed(fields_.amount));
}

ClearDataRequest::ClearDataRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
}

RebootRequest::RebootRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
}

SaveRequest::SaveRequest(Fields fields) : ImmutableRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.currency = uppercased(trimmed(fields_.currency));
}

}  // namespace tilvanego

namespace tilvanego::detail {

std::string InitializationOperation::describe(const Request& request) {
  return RequestDescription("InitializationRequest")
      .field("requestId", request.requestId())
      .field("callbackURL", request.callbackURL().absoluteString())
      .field("sourceApplication", request.sourceApplication())
      .flag("basicToken", request.basicToken().has_value())
      .field("accountId", orNil(request.accountId()))
      .field("environment", orNil(request.environment()))
      .field("basePath", orNil(request.basePath()))
      .text();
}

std::optional<std::string_view> InitializationOperation::validate(const Request& request) {
  const auto isPresentButBlank = [](const std::optional<std::string>& text) {
    return text && isBlank(*text);
  };
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  if (isPresentButBlank(request.basicToken())) return "Basic token must not be empty when provided.";
  if (isPresentButBlank(request.accountId())) return "Account ID must not be empty when provided.";
  if (request.environment() && !isKnownEnvironment(*request.environment())) {
    return "Environment must be STAGING, CERT, or PROD.";
  }
  return std::nullopt;
}

void InitializationOperation::addItems(const Request& request, LinkItems& items) {
  items.add("requestId", request.requestId());
  items.add("return_url", request.callbackURL().absoluteString());
  items.add("sourceApplication", request.sourceApplication());
  items.add("transport", "urlScheme");
  items.addIfPresent("basicToken", request.basicToken());
  items.addIfPresent("accountId", request.accountId());
  items.addIfPresent("environment", request.environment());
  items.addIfPresent("basePath", request.basePath());
}

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

}  // namespace

TransactionListResult TransactionListOperation::decodeList(Fields&& fields) {
  const auto failure = [&fields](Error error) -> Result {
    return Result::Failure{std::move(error), Response(std::move(fields))};
  };
  ListText list;
  readCallback<listKeys>(fields.callbackURL, list);
  if (!list.json) return failure(Error::MissingTransactionList{});
  auto transactions = json::decode<std::vector<TilvaneGoTransaction>>(*list.json);
  if (!transactions) return failure(Error::DecodingFailed{transactions.error().description()});
  fields.transactions = *std::move(transactions);
  return Result::Success{Response(std::move(fields))};
}

std::string FullRefundOperation::describe(const Request& request) {
  return RequestDescription("FullRefundRequest")
      .field("requestId", request.requestId())
      .field("transactionId", request.transactionId())
      .field("callbackURL", request.callbackURL().absoluteString())
      .flag("credentials", true)
      .text();
}

std::optional<std::string_view> FullRefundOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkTransactionId(request.transactionId())) return failure;
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  return checkRequiredCredentials(request.credentials());
}

void FullRefundOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("transaction_id", request.transactionId());
  items.add("return_url", request.callbackURL().absoluteString());
  addCredentials(items, request.credentials());
}

std::string PartialRefundOperation::describe(const Request& request) {
  return RequestDescription("PartialRefundRequest")
      .field("requestId", request.requestId())
      .field("transactionId", request.transactionId())
      .field("amount", request.amount().text())
      .field("callbackURL", request.callbackURL().absoluteString())
      .flag("credentials", true)
      .text();
}

std::optional<std::string_view> PartialRefundOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkTransactionId(request.transactionId())) return failure;
  if (request.amount() <= 0) return "Amount must be greater than zero.";
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  return checkRequiredCredentials(request.credentials());
}

void PartialRefundOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("transaction_id", request.transactionId());
  items.addText("amount", request.amount().text());
  items.add("return_url", request.callbackURL().absoluteString());
  addCredentials(items, request.credentials());
}

std::string CaptureOperation::describe(const Request& request) {
  return RequestDescription("CaptureRequest")
      .field("requestId", request.requestId())
      .field("transactionId", request.transactionId())
      .field("amount", request.amount())
      .field("callbackURL", request.callbackURL().absoluteString())
      .text();
}

std::optional<std::string_view> CaptureOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkTransactionId(request.transactionId())) return failure;
  const auto amount = Decimal::parse(request.amount());
  if (!amount || *amount <= 0) return "Amount must be a decimal value greater than zero.";
  return checkCallbackURL(request.callbackURL());
}

void CaptureOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("transaction_id", request.transactionId());
  items.add("amount", request.amount());
  items.add("return_url", request.callbackURL().absoluteString());
}

std::string ClearDataOperation::describe(const Request& request) {
  return RequestDescription("ClearDataRequest")
      .field("requestId", request.requestId())
      .field("callbackURL", request.callbackURL().absoluteString())
      .field("amount", orNil(request.amount()))
      .field("timeout", orNil(request.timeout()))
      .text();
}

std::optional<std::string_view> ClearDataOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  if (request.amount() && *request.amount() <= 0) return "Amount must be greater than zero when provided.";
  if (request.timeout() && *request.timeout() <= 0) return "Timeout must be greater than zero when provided.";
  return std::nullopt;
}

void ClearDataOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("return_url", request.callbackURL().absoluteString());
  if (request.amount()) items.addText("amount", request.amount()->text());
  if (request.timeout()) items.addText("timeout", std::to_string(*request.timeout()));
}

std::string RebootOperation::describe(const Request& request) {
  return RequestDescription("RebootRequest")
      .field("requestId", request.requestId())
      .field("callbackURL", request.callbackURL().absoluteString())
      .text();
}

std::optional<std::string_view> RebootOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  return checkCallbackURL(request.callbackURL());
}

void RebootOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("return_url", request.callbackURL().absoluteString());
}

std::string SaveOperation::describe(const Request& request) {
  return RequestDescription("SaveRequest")
      .field("requestId", request.requestId())
      .field("currency", request.currency())
      .field("callbackURL", request.callbackURL().absoluteString())
      .field("customId", orNil(request.customId()))
      .field("notes", request.notes() ? "present" : "nil")
      .flag("credentials", request.credentials().has_value())
      .text();
}

std::optional<std::string_view> SaveOperation::validate(const Request& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  if (auto failure = checkCurrency(request.currency())) return failure;
  return checkOptionalCredentials(request.credentials());
}

void SaveOperation::addItems(const Request& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.add("return_url", request.callbackURL().absoluteString());
  items.add("currency", request.currency());
  items.addIfPresent("custom_id", request.customId());
  items.addIfPresent("notes", request.notes());
  if (request.credentials()) addCredentials(items, *request.credentials());
}

}  // namespace tilvanego::detail
