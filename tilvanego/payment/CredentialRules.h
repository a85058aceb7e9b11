#pragma once

#include <optional>
#include <string_view>

#include <tilvanego/frame/Link.h>
#include <tilvanego/payment/PaymentCredentials.h>

/// What each request with credentials does with them.
namespace tilvanego::detail {

/// The message of the first failure of credentials that a request must have, or nothing.
[[nodiscard]] std::optional<std::string_view> checkRequiredCredentials(const PaymentCredentials& credentials);

/// The same for credentials that a request may leave out.
[[nodiscard]] std::optional<std::string_view> checkOptionalCredentials(
    const std::optional<PaymentCredentials>& credentials);

/// Adds credentials to a link. `redactedURLText` knows the token by its name.
void addCredentials(LinkItems& items, const PaymentCredentials& credentials);

}  // namespace tilvanego::detail
