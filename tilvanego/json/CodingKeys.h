#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string_view>
#include <type_traits>
#include <utility>

#include <tilvanego/json/Reflection.h>
#include <tilvanego/values/RawText.h>

/// Plain aggregates name the keys of their members in an enumeration of their own, one case for each member,
/// in the members' order:
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
/// The cases have raw texts like those of any enumeration: their names. Where a key differs from its
/// member, the record gives its keys a `RawTexts` of their own. A case too many or too few, or in another
/// place than its member, doesn't compile.
namespace tilvanego::json {

/// An enumeration of that name, inside a type.
template <typename Enumeration>
concept IsCodingKeys = std::is_enum_v<Enumeration> && detail::typeName<Enumeration>.ends_with("::CodingKeys");

/// A record that names its keys in `CodingKeys`.
template <typename Record>
concept NamesItsKeys = std::is_aggregate_v<Record> && IsCodingKeys<typename Record::CodingKeys>;

/// The cases of an enumeration, each with its name as its text.
template <typename Keys>
[[nodiscard]] consteval auto caseNames() {
  return []<std::size_t... index>(std::index_sequence<index...>) {
    return std::array{
        std::pair{static_cast<Keys>(index), detail::enumeratorName<static_cast<Keys>(index)>}...};
  }(std::make_index_sequence<detail::countEnumerators<Keys>()>());
}

/// The same, but for one case that has a text of its own.
template <typename Keys>
[[nodiscard]] consteval auto caseNamesBut(Keys value, std::string_view text) {
  auto table = caseNames<Keys>();
  table[static_cast<std::size_t>(value)].second = text;
  return table;
}

struct RecordTable;

/// What is known of a record that names its keys. It is made in one source file alone, so that no other has
/// to compile it: that file includes `DescribedRecord.h` and says `template struct Described<Record>;`.
template <NamesItsKeys Record>
struct Described {
  [[nodiscard]] static const RecordTable& table();
  /// Equal records have equal hashes; the order of the members matters.
  [[nodiscard]] static std::size_t hash(const Record& record);
};

}  // namespace tilvanego::json

template <tilvanego::json::IsCodingKeys Keys>
struct tilvanego::RawTexts<Keys> {
  static constexpr auto table = tilvanego::json::caseNames<Keys>();
};

template <tilvanego::json::NamesItsKeys Record>
struct std::hash<Record> {
  [[nodiscard]] std::size_t operator()(const Record& record) const {
    return tilvanego::json::Described<Record>::hash(record);
  }
};
