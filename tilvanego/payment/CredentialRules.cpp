#include <tilvanego/payment/CredentialRules.h>

#include <tilvanego/frame/Validation.h>

namespace tilvanego::detail {
namespace {

std::optional<std::string_view> checkCredentialEnvironment(const PaymentCredentials& credentials) {
  if (isKnownEnvironment(credentials.environment())) return std::nullopt;
  return "Credential environment must be STAGING, CERT, or PROD.";
}

}  // namespace

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
