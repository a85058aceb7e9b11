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
class RefundResponse : public ResponseRecord<RefundResponseFields> {
 public:
  using ResponseRecord::ResponseRecord;

  [[nodiscard]] const std::optional<std::string>& transactionId() const { return fields_.transactionId; }
};

}  // namespace tilvanego
