#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string_view>
#include <utility>

#include <tilvanego/values/Shown.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The text of each case of an enumeration in links, callbacks and JSON. Specialise it for an enumeration
/// with `static constexpr std::array table{std::pair{Case, std::string_view("text")}, ...};`: each case once,
/// in the order of the cases.
template <typename Enumeration>
struct RawTexts;

/// An enumeration whose cases have raw texts.
template <typename Enumeration>
concept HasRawText = requires { RawTexts<Enumeration>::table.size(); };

/// Returns the raw text of a case, or an empty text for a value that is not a case of its enumeration.
template <HasRawText Enumeration>
[[nodiscard]] constexpr std::string_view rawText(Enumeration value) {
  for (const auto& [one, text] : RawTexts<Enumeration>::table) {
    if (one == value) return text;
  }
  return {};
}

/// Returns the case with this raw text, compared byte for byte, or no value if there is none.
template <HasRawText Enumeration>
[[nodiscard]] constexpr std::optional<Enumeration> fromRawText(std::string_view text) {
  for (const auto& [one, raw] : RawTexts<Enumeration>::table) {
    if (raw == text) return one;
  }
  return std::nullopt;
}

/// Returns all cases of an enumeration, in their order.
template <HasRawText Enumeration>
[[nodiscard]] constexpr auto allCases() {
  constexpr auto& table = RawTexts<Enumeration>::table;
  std::array<Enumeration, table.size()> cases{};
  for (std::size_t i = 0; i < table.size(); ++i) cases[i] = table[i].first;
  return cases;
}

/// Writes the raw text of a case; for a value that is not a case, its number.
template <HasRawText Enumeration>
std::ostream& operator<<(std::ostream& out, Enumeration value) {
  if (const std::string_view text = rawText(value); !text.empty()) {
    support::showText(out, text);
  } else {
    support::showNumber(out, static_cast<std::int64_t>(value));
  }
  return out;
}

}  // namespace tilvanego
