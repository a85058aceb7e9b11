#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace [[gnu::visibility("default")]] tilvanego {

/// HTTP header fields by name, whose case is kept but doesn't count (RFC 9110, section 5.1). A name stands
/// once.
class HTTPHeaders {
 public:
  struct Field {
    std::string name;
    std::string value;
    bool operator==(const Field&) const = default;
  };

  HTTPHeaders() = default;
  HTTPHeaders(std::initializer_list<std::pair<std::string_view, std::string_view>> fields);

  /// The value under the name, or none; valid until the headers change.
  [[nodiscard]] std::optional<std::string_view> value(std::string_view name) const;
  /// Replaces the value under the name, or adds the field at the end.
  void setValue(std::string_view name, std::string value);
  /// Puts ", " and the value behind the name's value, or adds the field at the end (RFC 9110, section 5.3).
  void addValue(std::string_view name, std::string value);
  void remove(std::string_view name);
  /// Takes room for so many fields at once.
  void reserve(std::size_t count) { fields_.reserve(count); }

  /// In the order of their adding.
  [[nodiscard]] const std::vector<Field>& fields() const { return fields_; }
  [[nodiscard]] bool empty() const { return fields_.empty(); }
  bool operator==(const HTTPHeaders&) const = default;

 private:
  std::vector<Field>::iterator find(std::string_view name);
  std::vector<Field> fields_;
};

}  // namespace tilvanego
