#pragma once

#include <concepts>
#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include <tilvanego/json/Reflection.h>
#include <tilvanego/json/ShownFields.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The fields of a record: an aggregate of at most 16 members. `fieldCount` must equal the number of
/// members; otherwise the program does not compile.
template <typename Fields>
concept DescribedFields = std::is_aggregate_v<Fields> && requires {
  { Fields::fieldCount } -> std::convertible_to<std::size_t>;
};

/// The name of a field: that of its member.
template <DescribedFields Fields, std::size_t index>
inline constexpr std::string_view fieldName = json::detail::memberName<Fields, Fields::fieldCount, index>;

/// The type of a field.
template <DescribedFields Fields, std::size_t index>
using FieldTypeOf =
    std::remove_cvref_t<std::tuple_element_t<index, decltype(json::detail::tieMembers<Fields::fieldCount>(
                                                        std::declval<Fields&>()))>>;

/// Calls `visit(name, value)` for each field, in the order of the members.
template <DescribedFields Fields, typename Visit>
void visitFields(const Fields& fields, Visit&& visit) {
  const auto members = json::detail::tieMembers<Fields::fieldCount>(fields);
  [&]<std::size_t... index>(std::index_sequence<index...>) {
    (visit(fieldName<Fields, index>, std::get<index>(members)), ...);
  }(std::make_index_sequence<Fields::fieldCount>());
}

/// Writes the fields as "Record(name: value, …)": texts in quotes, absent ones as nil. What `isHiddenField`
/// names (secrets, notes, card data) is shown as present or not.
template <DescribedFields Fields>
std::ostream& operator<<(std::ostream& out, const Fields& fields) {
  support::FieldsShown shown(out, support::recordName<Fields>());
  visitFields(fields, [&shown](std::string_view name, const auto& value) { shown.field(name, value); });
  return shown.end();
}

/// The base class of requests and responses: an immutable value of `Fields`. The derived classes add the
/// accessors.
template <typename FieldsType>
class ImmutableRecord {
 public:
  using Fields = FieldsType;

  explicit ImmutableRecord(const Fields& fields) : fields_(fields) {}
  explicit ImmutableRecord(Fields&& fields) : fields_(std::move(fields)) {}

  /// All fields, for code that treats every record alike: see `visitFields`.
  [[nodiscard]] const Fields& fields() const { return fields_; }

  bool operator==(const ImmutableRecord&) const = default;
  /// Writes the fields, see above.
  friend std::ostream& operator<<(std::ostream& out, const ImmutableRecord& record) {
    return out << record.fields_;
  }

 protected:
  // NOLINTNEXTLINE(readability-identifier-naming): private to the records.
  Fields fields_;
};

/// The base class of responses, with what most of them have. All items are percent-decoded but not trimmed.
template <typename FieldsType>
class ResponseRecord : public ImmutableRecord<FieldsType> {
 public:
  using ImmutableRecord<FieldsType>::ImmutableRecord;

  /// The URL that was read.
  [[nodiscard]] const URL& callbackURL() const { return this->fields_.callbackURL; }
  [[nodiscard]] const std::optional<std::string>& requestId() const { return this->fields_.requestId; }
  [[nodiscard]] const std::optional<std::string>& status() const { return this->fields_.status; }
  /// Only the responses whose fields have it.
  [[nodiscard]] const auto& errorCode() const
    requires requires(FieldsType fields) { fields.errorCode; }
  {
    return this->fields_.errorCode;
  }
  [[nodiscard]] const auto& errorMessage() const
    requires requires(FieldsType fields) { fields.errorMessage; }
  {
    return this->fields_.errorMessage;
  }
};

}  // namespace tilvanego
