#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <tilvanego/frame/RecordFields.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The fields of a `RefundResponse`.
struct RefundResponseFields {
  /// The URL that was read.
  URL callbackURL;
  std::optional<std::string> requestId = std::nullopt;
  std::optional<std::string> transactionId = std::nullopt;
  std::optional<std::string> status = std::nullopt;
  std::optional<std::string> errorCode = std::nullopt;
  std::optional<std::string> errorMessage = std::nullopt;

  static constexpr std::size_t fieldCount = 6;
  bool operator==(const RefundResponseFields&) const = default;
};

/// The items of the callback of a full or partial refund, percent-decoded but not trimmed. An immutable
/// value.
class RefundResponse : public ImmutableRecord<RefundResponseFields> {
 public:
  using ImmutableRecord::ImmutableRecord;

  [[nodiscard]] const URL& callbackURL() const { return fields_.callbackURL; }
  [[nodiscard]] const std::optional<std::string>& requestId() const { return fields_.requestId; }
  [[nodiscard]] const std::optional<std::string>& transactionId() const { return fields_.transactionId; }
  [[nodiscard]] const std::optional<std::string>& status() const { return fields_.status; }
  [[nodiscard]] const std::optional<std::string>& errorCode() const { return fields_.errorCode; }
  [[nodiscard]] const std::optional<std::string>& errorMessage() const { return fields_.errorMessage; }
};

}  // namespace tilvanego
