#pragma once

#include <optional>
#include <string_view>

#include <tilvanego/frame/Link.h>
#include <tilvanego/payment/PaymentCredentials.h>

/// The checks and the query items of credentials, for every request that has them.
namespace tilvanego::detail {

/// Checks credentials that a request must have. Returns the message of the first failure, or nothing.
[[nodiscard]] std::optional<std::string_view> checkRequiredCredentials(const PaymentCredentials& credentials);

/// The same for credentials that a request may leave out.
[[nodiscard]] std::optional<std::string_view> checkOptionalCredentials(
    const std::optional<PaymentCredentials>& credentials);

/// Adds credentials to a link. `redactedURLText` hides the token by the name of its item.
void addCredentials(LinkItems& items, const PaymentCredentials& credentials);

}  // namespace tilvanego::detail
