#pragma once

#include <optional>
#include <string_view>

#include <tilvanego/values/Support.h>
#include <tilvanego/values/URL.h>

/// The tests that several operations' requests go through. Each gives nothing, or the message of its failure.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// A text that is empty but for whitespace and newlines.
[[nodiscard]] bool isBlank(std::string_view text);

[[nodiscard]] std::optional<std::string_view> checkRequestId(std::string_view requestId);
[[nodiscard]] std::optional<std::string_view> checkTransactionId(std::string_view transactionId);
[[nodiscard]] std::optional<std::string_view> checkCallbackURL(const URL& url);
[[nodiscard]] std::optional<std::string_view> checkCurrency(std::string_view currency);

/// Whether an environment is exactly one that the payment application knows.
[[nodiscard]] bool isKnownEnvironment(std::string_view environment);

}  // namespace support
}  // namespace tilvanego
