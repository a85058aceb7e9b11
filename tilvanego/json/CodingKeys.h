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

/// Specialise it as true for an enumeration whose raw texts are the names of its cases, but for
/// `renamedCases`. It is true for each `CodingKeys`. The texts are made where they are first used.
template <typename Enumeration>
inline constexpr bool namesAreTexts = IsCodingKeys<Enumeration>;

template <typename Enumeration>
concept NamesAreTexts = namesAreTexts<Enumeration>;

/// Specialise it with an array of pairs of the cases whose texts aren't their names, and their texts.
template <typename Enumeration>
inline constexpr std::array<std::pair<Enumeration, std::string_view>, 0> renamedCases{};

/// A record that names its keys in `CodingKeys`.
template <typename Record>
concept NamesItsKeys = std::is_aggregate_v<Record> && IsCodingKeys<typename Record::CodingKeys>;

/// Returns the cases of an enumeration, each with its name as its text, or with its text of `renamedCases`.
template <typename Keys>
[[nodiscard]] consteval auto caseNames() {
  auto table = []<std::size_t... index>(std::index_sequence<index...>) {
    return std::array{std::pair{static_cast<Keys>(index), detail::enumeratorNames<Keys>.names[index]}...};
  }(std::make_index_sequence<detail::enumeratorNames<Keys>.count>());
  for (const auto& [value, text] : renamedCases<Keys>) table[static_cast<std::size_t>(value)].second = text;
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
