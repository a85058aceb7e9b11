#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// HTTP header fields. Names are case-insensitive (RFC 9110, section 5.1), their case is kept. Each name
/// occurs once.
class HTTPHeaders {
 public:
  struct Field {
    std::string name;
    std::string value;
    bool operator==(const Field&) const = default;
  };

  HTTPHeaders() = default;
  HTTPHeaders(std::initializer_list<std::pair<std::string_view, std::string_view>> fields);

  /// Returns the value of the field, or no value if there is no such field. Valid until the headers change.
  [[nodiscard]] std::optional<std::string_view> value(std::string_view name) const TILVANEGO_LIFETIMEBOUND;
  /// Replaces the field's value, or adds the field at the end.
  void setValue(std::string_view name, std::string value);
  /// Appends ", " and the value to the field's value (RFC 9110, section 5.3), or adds the field at the end.
  void addValue(std::string_view name, std::string value);
  /// Removes the field if there is one.
  void remove(std::string_view name);
  /// Allocates memory for this many fields.
  void reserve(std::size_t count) { fields_.reserve(count); }

  /// All fields, in the order in which they were added.
  [[nodiscard]] const std::vector<Field>& fields() const TILVANEGO_LIFETIMEBOUND { return fields_; }
  [[nodiscard]] bool empty() const { return fields_.empty(); }
  bool operator==(const HTTPHeaders&) const = default;

 private:
  std::vector<Field>::iterator find(std::string_view name);
  std::vector<Field> fields_;
};

}  // namespace tilvanego
