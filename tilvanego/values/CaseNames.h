#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string_view>
#include <utility>

#include <tilvanego/values/Shown.h>

namespace tilvanego::detail {

// g++ and clang write a template's arguments into `__PRETTY_FUNCTION__`.
template <auto... values>
consteval std::string_view spelledList() {
  return __PRETTY_FUNCTION__;
}

/// The names of the enumerators with the values 0, 1, 2, … without a gap. More than `max` do not compile.
struct EnumeratorNames {
  static constexpr std::size_t max = 63;

  std::array<std::string_view, max> names{};
  std::size_t count = 0;
};

/// Reads the names from a list of values, `a::b, a::c, (a)2}`. The compiler writes a value that is not an
/// enumerator as a cast; it ends the list.
[[nodiscard]] consteval EnumeratorNames listedNames(std::string_view list) {
  EnumeratorNames listed;
  std::size_t nesting = 0;
  std::size_t begin = 0;
  for (std::size_t at = 0;; ++at) {
    const char c = list[at];
    if (c == '<' || c == '(') ++nesting;
    if (nesting > 0) {
      if (c == '>' || c == ')') --nesting;
      if (c == ')' && list[at + 1] >= '-' && list[at + 1] <= '9') return listed;
    } else if (c == ':') {
      begin = at + 1;
    } else if (c == ',') {
      listed.names[listed.count++] = list.substr(begin, at - begin);
    }
  }
}

/// The names of an enumeration's cases. One text has all of them: to ask the compiler for each is slow.
template <typename Enumeration>
inline constexpr EnumeratorNames enumeratorNames = []<std::size_t... index>(std::index_sequence<index...>) {
  constexpr std::string_view spelling = spelledList<static_cast<Enumeration>(index)...>();
  return listedNames(spelling.substr(spelling.find("= ") + 3));
}(std::make_index_sequence<EnumeratorNames::max + 1>());

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// Specialise it as true for an enumeration without raw texts whose cases write their names to a stream. They
/// have the values 0, 1, 2, … without a gap.
template <typename Enumeration>
inline constexpr bool showsCaseNames = false;

/// Writes the name of a case; for a value that is not a case, its number.
template <typename Enumeration>
  requires showsCaseNames<Enumeration>
std::ostream& operator<<(std::ostream& out, Enumeration value) {
  constexpr auto& cases = detail::enumeratorNames<Enumeration>;
  const auto index = static_cast<std::size_t>(value);
  if (index < cases.count) {
    support::showText(out, cases.names[index]);
  } else {
    support::showNumber(out, static_cast<std::int64_t>(value));
  }
  return out;
}

}  // namespace tilvanego
