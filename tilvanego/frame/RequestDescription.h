#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/Decimal.h>

namespace tilvanego::detail {

/// Builds the text of a request for a debug line: `SaveRequest(requestId: A-1, customId: nil)`. The operation
/// chooses the fields, and of which it shows only whether they are present (`flag`).
class RequestDescription {
 public:
  explicit RequestDescription(std::string_view record) : text_(record) {}

  RequestDescription& field(std::string_view name, std::string_view value) {
    text_.append(separator_).append(name).append(": ").append(value);
    separator_ = ", ";
    return *this;
  }
  RequestDescription& flag(std::string_view name, bool value) {
    return field(name, value ? "true" : "false");
  }

  [[nodiscard]] std::string text() const { return text_ + ")"; }

 private:
  std::string text_;
  std::string_view separator_ = "(";
};

/// The text of an optional value in a description.
[[nodiscard]] inline std::string_view orNil(const std::optional<std::string>& value) {
  return value ? std::string_view(*value) : "nil";
}
[[nodiscard]] inline std::string orNil(const std::optional<Decimal>& value) {
  return value ? value->text() : "nil";
}
[[nodiscard]] inline std::string orNil(const std::optional<std::int64_t>& value) {
  return value ? std::to_string(*value) : "nil";
}

}  // namespace tilvanego::detail
