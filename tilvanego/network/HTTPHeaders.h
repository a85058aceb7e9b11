#pragma once

#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/values/Lifetime.h>

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
  HTTPHeaders(const HTTPHeaders& other);
  HTTPHeaders(HTTPHeaders&& other) noexcept;
  HTTPHeaders& operator=(HTTPHeaders other) noexcept;
  ~HTTPHeaders() = default;
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
  void reserve(std::size_t count);

  /// All fields, in the order in which they were added.
  [[nodiscard]] const std::vector<Field>& fields() const TILVANEGO_LIFETIMEBOUND;
  [[nodiscard]] bool empty() const { return fields().empty(); }
  bool operator==(const HTTPHeaders& other) const { return fields() == other.fields(); }

 private:
  /// The fields, of this object alone from now on.
  std::vector<Field>& own();
  /// Returns the field, or null.
  [[nodiscard]] const Field* find(std::string_view name) const;

  /// Null without fields.
  std::shared_ptr<std::vector<Field>> fields_;
  /// Whether another object may have the same fields: they aren't changed then. Atomic, because several
  /// threads may copy one object.
  mutable std::atomic<bool> isShared_ = false;
};

}  // namespace tilvanego
