#include <tilvanego/payment/PaymentOperation.h>

#include <tilvanego/frame/Validation.h>

namespace tilvanego::detail {
namespace {

std::optional<std::string_view> checkCredentialEnvironment(const PaymentCredentials& credentials) {
  if (isKnownEnvironment(credentials.environment())) return std::nullopt;
  return "Credential environment must be STAGING, CERT, or PROD.";
}

}  // namespace

template std::optional<PaymentResult> parseCallback<PaymentOperation>(URL&& url,
                                                                      const std::string* expectedRequestId,
                                                                      const URL* expectedCallbackURL);

std::string PaymentOperation::describe(const PaymentRequest& request) {
  return RequestDescription("PaymentRequest")
      .field("requestId", request.requestId())
      .field("amount", request.amount().text())
      .field("tip", orNil(request.tip()))
      .field("transactionType", rawText(request.transactionType()))
      .field("currency", request.currency())
      .field("callbackURL", request.callbackURL().absoluteString())
      .field("customId", orNil(request.customId()))
      .field("notes", request.notes() ? "present" : "nil")
      .flag("credentials", request.credentials().has_value())
      .flag("requiresReaderReady", request.requiresReaderReady())
      .text();
}

std::optional<std::string_view> PaymentOperation::validate(const PaymentRequest& request) {
  if (auto failure = checkRequestId(request.requestId())) return failure;
  if (request.amount() <= 0) return "Amount must be greater than zero.";
  if (request.tip() && *request.tip() < 0) return "Tip must be greater than or equal to zero.";
  if (auto failure = checkCurrency(request.currency())) return failure;
  if (auto failure = checkCallbackURL(request.callbackURL())) return failure;
  return checkOptionalCredentials(request.credentials());
}

void PaymentOperation::addItems(const PaymentRequest& request, LinkItems& items) {
  items.add("request_id", request.requestId());
  items.addText("amount", request.amount().text());
  items.add("type", rawText(request.transactionType()));
  items.add("currency", request.currency());
  items.add("return_url", request.callbackURL().absoluteString());
  if (request.tip()) items.addText("tip", request.tip()->text());
  items.addIfPresent("custom_id", request.customId());
  items.addIfPresent("notes", request.notes());
  if (request.credentials()) addCredentials(items, *request.credentials());
  items.add("require_reader_ready", request.requiresReaderReady() ? "true" : "false");
}

std::optional<std::string_view> checkRequiredCredentials(const PaymentCredentials& credentials) {
  if (isBlank(credentials.basicToken())) return "Credential basic token is required.";
  if (isBlank(credentials.accountId())) return "Credential account ID is required.";
  return checkCredentialEnvironment(credentials);
}

std::optional<std::string_view> checkOptionalCredentials(
    const std::optional<PaymentCredentials>& credentials) {
  if (!credentials) return std::nullopt;
  if (isBlank(credentials->basicToken()))
    return "Credential basic token is required when credentials are provided.";
  if (isBlank(credentials->accountId()))
    return "Credential account ID is required when credentials are provided.";
  return checkCredentialEnvironment(*credentials);
}

void addCredentials(LinkItems& items, const PaymentCredentials& credentials) {
  items.add("basic_token", credentials.basicToken());
  items.add("account_id", credentials.accountId());
  items.add("environment", credentials.environment());
}

}  // namespace tilvanego::detail
