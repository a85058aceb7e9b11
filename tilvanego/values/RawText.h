#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace tilvanego {

/// The texts that the cases of an enumeration have on every wire, each pair said once, in the order of the
/// cases. An enumeration takes part by specialising this with `static constexpr std::array
/// table{std::pair{Case, std::string_view("text")}, ...};`.
template <typename Enumeration>
struct RawTexts;

/// An enumeration whose cases have raw texts.
template <typename Enumeration>
concept HasRawText = requires { RawTexts<Enumeration>::table.size(); };

/// The raw text of a case. A value that is no case of its enumeration has an empty text.
template <HasRawText Enumeration>
[[nodiscard]] constexpr std::string_view rawText(Enumeration value) {
  for (const auto& [one, text] : RawTexts<Enumeration>::table) {
    if (one == value) return text;
  }
  return {};
}

/// The case with exactly this raw text, byte for byte; nothing if there is none.
template <HasRawText Enumeration>
[[nodiscard]] constexpr std::optional<Enumeration> fromRawText(std::string_view text) {
  for (const auto& [one, raw] : RawTexts<Enumeration>::table) {
    if (raw == text) return one;
  }
  return std::nullopt;
}

/// All cases of an enumeration, in their order.
template <HasRawText Enumeration>
[[nodiscard]] constexpr auto allCases() {
  constexpr auto& table = RawTexts<Enumeration>::table;
  std::array<Enumeration, table.size()> cases{};
  for (std::size_t i = 0; i < table.size(); ++i) cases[i] = table[i].first;
  return cases;
}

}  // namespace tilvanego
