#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <tilvanego/json/CodingKeys.h>
#include <tilvanego/json/Record.h>
#include <tilvanego/json/ValueCodecs.h>
#include <tilvanego/values/HashMixing.h>

/// The definitions behind `Described`, for the one source file of each record that names its keys.

namespace tilvanego::json::detail {

using tilvanego::detail::mixHash;

template <typename T>
[[nodiscard]] std::size_t hashOf(const T& value) {
  return std::hash<T>()(value);
}

template <typename T>
[[nodiscard]] std::size_t hashOf(const std::vector<T>& list) {
  std::size_t hash = list.size();
  for (const T& element : list) hash = mixHash(hash, hashOf(element));
  return hash;
}

template <typename T>
[[nodiscard]] std::size_t hashOf(const std::optional<T>& value) {
  return value ? mixHash(1, hashOf(*value)) : 0;
}

template <typename T, std::size_t count>
[[nodiscard]] std::size_t hashOf(const std::array<T, count>& list) {
  std::size_t hash = count;
  for (const T& element : list) hash = mixHash(hash, hashOf(element));
  return hash;
}

template <typename T, typename Less>
[[nodiscard]] std::size_t hashOf(const std::map<std::string, T, Less>& map) {
  std::size_t hash = map.size();
  for (const auto& [key, value] : map) hash = mixHash(mixHash(hash, hashOf(key)), hashOf(value));
  return hash;
}

/// Every member has an initialiser or a default constructor. Only then a `const Record` may be
/// default-initialised.
template <typename Record>
concept InitialisesItsMembers = requires { new const Record; };

template <typename Record>
[[nodiscard]] consteval bool casesNameTheMembers() {
  return []<std::size_t... index>(std::index_sequence<index...>) {
    return ((enumeratorNames<typename Record::CodingKeys>.names[index] ==
             memberName<Record, sizeof...(index), index>) &&
            ...);
  }(std::make_index_sequence<fieldCount<Record>>());
}

}  // namespace tilvanego::json::detail

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] json {

template <NamesItsKeys Record>
const RecordTable& Described<Record>::table() {
  static_assert(detail::casesNameTheMembers<Record>(),
                "CodingKeys has a case for each member, of its name and in its place");
  static_assert(detail::enumeratorNames<typename Record::CodingKeys>.count ==
                    RawTexts<typename Record::CodingKeys>::table.size(),
                "each case of CodingKeys has one raw text");
  static_assert(detail::InitialisesItsMembers<Record>,
                "a number, a truth value or an enumeration among the members has an initialiser");
  return detail::Description<Record>::table;
}

template <NamesItsKeys Record>
std::size_t Described<Record>::hash(const Record& record) {
  return std::apply(
      [](const auto&... member) {
        std::size_t hash = sizeof...(member);
        ((hash = detail::mixHash(hash, detail::hashOf(member))), ...);
        return hash;
      },
      detail::tieMembers<fieldCount<Record>>(record));
}

}  // namespace json
}  // namespace tilvanego
