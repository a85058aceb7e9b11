#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/values/Lifetime.h>
#include <tilvanego/values/SharedArray.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// HTTP header fields. Names are case-insensitive (RFC 9110, section 5.1), their case is kept. Each name
/// occurs once.
///
/// Copies share the fields until one of them is changed, so that a request is passed on without copies of its
/// fields. Different copies may be used on different threads.
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
  /// Adds the field at the end unless there is one.
  void addIfAbsent(std::string_view name, std::string_view value);
  /// Appends ", " and the value to the field's value (RFC 9110, section 5.3), or adds the field at the end.
  void addValue(std::string_view name, std::string value);
  /// Removes the field if there is one.
  void remove(std::string_view name);
  /// Allocates memory for this many fields.
  void reserve(std::size_t count);

  /// All fields, in the order in which they were added.
  [[nodiscard]] std::span<const Field> fields() const TILVANEGO_LIFETIMEBOUND { return fields_; }
  [[nodiscard]] bool empty() const { return fields_.empty(); }
  bool operator==(const HTTPHeaders&) const = default;

 private:
  /// Returns the place of the field, or the end.
  [[nodiscard]] const Field* find(std::string_view name) const;

  SharedArray<Field> fields_;
};

}  // namespace tilvanego
