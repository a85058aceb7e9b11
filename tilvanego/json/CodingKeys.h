#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string_view>
#include <type_traits>
#include <utility>

#include <tilvanego/json/Reflection.h>
#include <tilvanego/values/RawText.h>

/// A plain aggregate may name the keys of its members in an enumeration `CodingKeys`, with one case for each
/// member, in the members' order:
///
/// ```cpp
/// struct Trace {
///   std::optional<std::string> cashier = {};
///   std::vector<std::string> tags;
///
///   enum class CodingKeys { cashier, tags };
/// };
/// static_assert(json::NamesItsKeys<Trace>);
/// ```
///
/// The key of a member is the name of its case. If a key differs from the member's name, specialise
/// `RawTexts` for the enumeration. The program does not compile if the cases and the members differ in number
/// or order.
namespace tilvanego {
namespace [[gnu::visibility("default")]] json {

/// An enumeration `CodingKeys` inside a type.
template <typename Enumeration>
concept IsCodingKeys = std::is_enum_v<Enumeration> && detail::typeName<Enumeration>.ends_with("::CodingKeys");

/// Specialise it as true for an enumeration whose raw texts are the names of its cases. It is true for each
/// `CodingKeys`.
template <typename Enumeration>
inline constexpr bool namesAreTexts = IsCodingKeys<Enumeration>;

template <typename Enumeration>
concept NamesAreTexts = namesAreTexts<Enumeration>;

/// A record that names its keys in `CodingKeys`.
template <typename Record>
concept NamesItsKeys = std::is_aggregate_v<Record> && IsCodingKeys<typename Record::CodingKeys>;

/// Returns the cases of an enumeration, each with its name as its text.
template <typename Keys>
[[nodiscard]] consteval auto caseNames() {
  return []<std::size_t... index>(std::index_sequence<index...>) {
    return std::array{std::pair{static_cast<Keys>(index), detail::enumeratorNames<Keys>.names[index]}...};
  }(std::make_index_sequence<detail::enumeratorNames<Keys>.count>());
}

/// Like `caseNames`, but `value` has the text `text`; `further` are further values, each with its text after
/// it.
template <typename Keys, typename... Further>
[[nodiscard]] constexpr auto caseNamesBut(Keys value, std::string_view text, Further... further) {
  auto table = caseNames<Keys>();
  if constexpr (sizeof...(further) > 0) table = caseNamesBut(further...);
  table[static_cast<std::size_t>(value)].second = text;
  return table;
}

struct RecordTable;

/// The table and the hash of a record that names its keys. They are compiled in one source file only, which
/// includes `DescribedRecord.h` and contains `template struct Described<Record>;`.
template <NamesItsKeys Record>
struct Described {
  [[nodiscard]] static const RecordTable& table();
  /// Equal records have equal hashes.
  [[nodiscard]] static std::size_t hash(const Record& record);
};

}  // namespace json
}  // namespace tilvanego

template <tilvanego::json::NamesAreTexts Enumeration>
struct tilvanego::RawTexts<Enumeration> {
  static constexpr auto table = tilvanego::json::caseNames<Enumeration>();
};

template <tilvanego::json::NamesItsKeys Record>
struct std::hash<Record> {
  [[nodiscard]] std::size_t operator()(const Record& record) const {
    return tilvanego::json::Described<Record>::hash(record);
  }
};
