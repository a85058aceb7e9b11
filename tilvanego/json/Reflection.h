#pragma once

#include <cstddef>
#include <string_view>
#include <tuple>
#include <utility>

#include <tilvanego/values/CaseNames.h>

/// The names of types and members as texts, from the compiler, beside those of enumerators. g++ and clang
/// write a template's arguments into `__PRETTY_FUNCTION__`: `... [with auto value =
/// tilvanego::models::Status::force; ...]`.
namespace tilvanego::json::detail {

using tilvanego::detail::enumeratorNames;

template <auto value>
consteval std::string_view spelled() {
  return __PRETTY_FUNCTION__;
}

template <typename T>
consteval std::string_view spelledType() {
  return __PRETTY_FUNCTION__;
}

/// Returns the first template argument as the compiler writes it.
[[nodiscard]] consteval std::string_view firstArgument(std::string_view spelling) {
  // The argument may itself contain brackets and semicolons. What stands before and after it doesn't: g++
  // ends with the meaning of the function's return type.
  spelling.remove_prefix(spelling.find('['));
  spelling.remove_prefix(spelling.find("= ") + 2);
  spelling.remove_suffix(1);
  return spelling.substr(0, spelling.rfind("; std::string_view = "));
}

[[nodiscard]] consteval std::string_view lastIdentifier(std::string_view spelling) {
  if (spelling.ends_with(')')) spelling.remove_suffix(1);
  return spelling.substr(spelling.find_last_of(":.") + 1);
}

/// The type with its namespaces and enclosing types: "tilvanego::models::EBT::ModelType".
template <typename T>
inline constexpr std::string_view typeName = firstArgument(spelledType<T>());

inline constexpr std::size_t maxMembers = 16;

/// Returns references to all members of an aggregate, which must have exactly `count` members.
template <std::size_t count, typename Record>
[[nodiscard]] constexpr auto tieMembers(Record& r) {
  static_assert(count >= 1, "a record that names its keys has a member");
  static_assert(
      count <= maxMembers,
      "a record that names its keys has at most 16 members: list those of a larger one in jsonFields");
  if constexpr (count == 1) {
    auto& [a] = r;
    return std::tie(a);
  } else if constexpr (count == 2) {
    auto& [a, b] = r;
    return std::tie(a, b);
  } else if constexpr (count == 3) {
    auto& [a, b, c] = r;
    return std::tie(a, b, c);
  } else if constexpr (count == 4) {
    auto& [a, b, c, d] = r;
    return std::tie(a, b, c, d);
  } else if constexpr (count == 5) {
    auto& [a, b, c, d, e] = r;
    return std::tie(a, b, c, d, e);
  } else if constexpr (count == 6) {
    auto& [a, b, c, d, e, f] = r;
    return std::tie(a, b, c, d, e, f);
  } else if constexpr (count == 7) {
    auto& [a, b, c, d, e, f, g] = r;
    return std::tie(a, b, c, d, e, f, g);
  } else if constexpr (count == 8) {
    auto& [a, b, c, d, e, f, g, h] = r;
    return std::tie(a, b, c, d, e, f, g, h);
  } else if constexpr (count == 9) {
    auto& [a, b, c, d, e, f, g, h, i] = r;
    return std::tie(a, b, c, d, e, f, g, h, i);
  } else if constexpr (count == 10) {
    auto& [a, b, c, d, e, f, g, h, i, j] = r;
    return std::tie(a, b, c, d, e, f, g, h, i, j);
  } else if constexpr (count == 11) {
    auto& [a, b, c, d, e, f, g, h, i, j, k] = r;
    return std::tie(a, b, c, d, e, f, g, h, i, j, k);
  } else if constexpr (count == 12) {
    auto& [a, b, c, d, e, f, g, h, i, j, k, l] = r;
    return std::tie(a, b, c, d, e, f, g, h, i, j, k, l);
  } else if constexpr (count == 13) {
    auto& [a, b, c, d, e, f, g, h, i, j, k, l, m] = r;
    return std::tie(a, b, c, d, e, f, g, h, i, j, k, l, m);
  } else if constexpr (count == 14) {
    auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n] = r;
    return std::tie(a, b, c, d, e, f, g, h, i, j, k, l, m, n);
  } else if constexpr (count == 15) {
    auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o] = r;
    return std::tie(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o);
  } else {
    auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p] = r;
    return std::tie(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p);
  }
}

template <typename Record>
struct Holder {
  Record record;
};

#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wundefined-var-template"
#pragma clang diagnostic ignored "-Wundefined-internal"
#endif
/// Never defined: only the addresses of its members are used, as template arguments.
template <typename Record>
extern const Holder<Record> phantom;

/// The name of the member at `index` of an aggregate with `count` members.
template <typename Record, std::size_t count, std::size_t index>
inline constexpr std::string_view memberName =
    lastIdentifier(firstArgument(spelled<&std::get<index>(tieMembers<count>(phantom<Record>.record))>()));
#ifdef __clang__
#pragma clang diagnostic pop
#endif

}  // namespace tilvanego::json::detail
