#pragma once

#include <tilvanego/facade/Link.h>
#include <tilvanego/payment/PaymentCredentials.h>

namespace tilvanego::detail {

/// Credentials as a link carries them. `redactedURLText` knows the token by its name.
inline void addCredentials(LinkItems& items, const PaymentCredentials& credentials) {
  items.add("basic_token", credentials.basicToken());
  items.add("account_id", credentials.accountId());
  items.add("environment", credentials.environment());
}

}  // namespace tilvanego::detail
