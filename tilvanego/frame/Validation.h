#pragma once

#include <optional>
#include <string_view>

#include <tilvanego/values/Support.h>
#include <tilvanego/values/URL.h>

/// Checks that the requests of several operations share. The `check…` functions return the message of the
/// failure, or nothing.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// Whether the text has only whitespace and newlines.
[[nodiscard]] bool isBlank(std::string_view text);

[[nodiscard]] std::optional<std::string_view> checkRequestId(std::string_view requestId);
[[nodiscard]] std::optional<std::string_view> checkTransactionId(std::string_view transactionId);
[[nodiscard]] std::optional<std::string_view> checkCallbackURL(const URL& url);
[[nodiscard]] std::optional<std::string_view> checkCurrency(std::string_view currency);

/// Whether the payment application has an environment of exactly this name.
[[nodiscard]] bool isKnownEnvironment(std::string_view environment);

}  // namespace support
}  // namespace tilvanego
