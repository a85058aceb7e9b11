#pragma once

#include <optional>
#include <string>
#include <utility>

#include <tilvanego/values/URL.h>

namespace tilvanego {

/// What a refund's callback said, full or partial, as raw text: nothing is trimmed or interpreted. An
/// immutable value.
class RefundResponse {
 public:
  struct Fields {
    /// The URL that was read.
    URL callbackURL;
    std::optional<std::string> requestId = std::nullopt;
    std::optional<std::string> transactionId = std::nullopt;
    std::optional<std::string> status = std::nullopt;
    std::optional<std::string> errorCode = std::nullopt;
    std::optional<std::string> errorMessage = std::nullopt;
    bool operator==(const Fields&) const = default;
  };

  explicit RefundResponse(const Fields& fields) : fields_(fields) {}
  explicit RefundResponse(Fields&& fields) : fields_(std::move(fields)) {}

  [[nodiscard]] const URL& callbackURL() const { return fields_.callbackURL; }
  [[nodiscard]] const std::optional<std::string>& requestId() const { return fields_.requestId; }
  [[nodiscard]] const std::optional<std::string>& transactionId() const { return fields_.transactionId; }
  [[nodiscard]] const std::optional<std::string>& status() const { return fields_.status; }
  [[nodiscard]] const std::optional<std::string>& errorCode() const { return fields_.errorCode; }
  [[nodiscard]] const std::optional<std::string>& errorMessage() const { return fields_.errorMessage; }

  bool operator==(const RefundResponse&) const = default;

 private:
  Fields fields_;
};

}  // namespace tilvanego
