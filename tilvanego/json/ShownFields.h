#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string_view>
#include <tuple>
#include <utility>

#include <tilvanego/json/CodingKeys.h>
#include <tilvanego/json/Reflection.h>
#include <tilvanego/values/RawText.h>
#include <tilvanego/values/Shown.h>

/// How records write themselves to a stream, by the one list of their fields: "Ticket(number: \"A-1\", seats:
/// 2, place: nil)". What `isHiddenField` names (secrets, notes, card data) is shown as present or not.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

template <typename T>
concept ShownAsOptional = requires(const T& value) {
  value.has_value();
  *value;
};
template <typename T>
concept ShownAsList = requires(const T& value) {
  typename T::value_type;
  value.size();
  *value.begin();
} && !std::convertible_to<const T&, std::string_view>;

template <typename T>
void showValue(std::ostream& out, const T& value) {
  if constexpr (ShownAsOptional<T>) {
    if (value.has_value()) {
      showValue(out, *value);
    } else {
      showText(out, "nil");
    }
  } else if constexpr (ShownAsList<T>) {
    std::string_view separator = "";
    showText(out, "[");
    for (const auto& element : value) {
      showText(out, std::exchange(separator, ", "));
      showValue(out, element);
    }
    showText(out, "]");
  } else if constexpr (std::convertible_to<const T&, std::string_view>) {
    showLiteral(out, value);
  } else if constexpr (std::same_as<T, bool>) {
    showText(out, value ? "true" : "false");
  } else if constexpr (std::integral<T>) {
    showNumber(out, static_cast<std::int64_t>(value));
  } else if constexpr (std::floating_point<T>) {
    showNumber(out, static_cast<double>(value));
  } else {
    out << value;
  }
}

/// Writes the field's name and ": ", and for a hidden field whether it is present. Returns whether the value
/// is to be shown.
[[nodiscard]] bool showFieldName(std::ostream& out, std::string_view name, bool isFirst, bool isPresent);

/// Writes one field after the other, then the closing bracket.
class FieldsShown {
 public:
  FieldsShown(std::ostream& out, std::string_view record) : out_(out) {
    showText(out_, record);
    showText(out_, "(");
  }
  template <typename T>
  FieldsShown& field(std::string_view name, const T& value) {
    bool isPresent = true;
    if constexpr (ShownAsOptional<T>) isPresent = value.has_value();
    if (showFieldName(out_, name, std::exchange(isFirst_, false), isPresent)) showValue(out_, value);
    return *this;
  }
  std::ostream& end() {
    showText(out_, ")");
    return out_;
  }

 private:
  std::ostream& out_;
  bool isFirst_ = true;
};

/// The name of a record's type. "PaymentRequestFields" and "PaymentCredentials::Fields" are those of the
/// record that has them.
template <typename Record>
[[nodiscard]] consteval std::string_view recordName() {
  std::string_view name = json::detail::typeName<Record>;
  if (name.ends_with("Fields")) name.remove_suffix(std::string_view("Fields").size());
  if (name.ends_with("::")) name.remove_suffix(2);
  return json::detail::lastIdentifier(name);
}

/// Writes a record that names its keys.
template <json::NamesItsKeys Record>
std::ostream& showRecord(std::ostream& out, const Record& record) {
  constexpr auto& keys = RawTexts<typename Record::CodingKeys>::table;
  const auto members = json::detail::tieMembers<keys.size()>(record);
  FieldsShown shown(out, recordName<Record>());
  [&]<std::size_t... index>(std::index_sequence<index...>) {
    (shown.field(keys[index].second, std::get<index>(members)), ...);
  }(std::make_index_sequence<keys.size()>());
  return shown.end();
}

}  // namespace support
}  // namespace tilvanego
