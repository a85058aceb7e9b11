// A pattern and a text, the first line and the rest. No pair may crash or hang a check, which must answer
// alike each time; and where a pattern is searched without ICU, ICU must come to the same answer.

#include <tilvanego/http_client/PatternAutomaton.h>
#include <tilvanego/http_client/PatternParser.h>
#include <tilvanego/http_client/Validator.h>
#include <unicode/uregex.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace {

using tilvanego::detail::PatternAutomaton;

void require(bool holds) {
  if (!holds) std::abort();
}

/// For ASCII alone. Nothing if the pattern isn't valid, or ICU gave up.
std::optional<bool> isFoundByICU(std::string_view pattern, std::string_view text) {
  const std::u16string widePattern(pattern.begin(), pattern.end());
  const std::u16string wideText(text.begin(), text.end());
  UErrorCode status = U_ZERO_ERROR;
  URegularExpression* const regex =
      uregex_open(widePattern.data(), static_cast<std::int32_t>(widePattern.size()), UREGEX_CASE_INSENSITIVE,
                  nullptr, &status);
  uregex_setTimeLimit(regex, 50, &status);
  uregex_setText(regex, wideText.data(), static_cast<std::int32_t>(wideText.size()), &status);
  const bool isFound = uregex_find(regex, 0, &status) != 0;
  uregex_close(regex);
  return U_SUCCESS(status) ? std::optional(isFound) : std::nullopt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::string_view pattern = input.substr(0, input.find('\n'));
  const std::string_view text = input.substr(std::min(pattern.size() + 1, input.size()));

  const tilvanego::StringRule rule{.pattern = pattern};
  const auto broken = tilvanego::Validator::check(text, rule);
  require(tilvanego::Validator::check(text, rule) == broken);

  auto graph = tilvanego::detail::parsePattern(pattern);
  const bool isASCII = std::ranges::all_of(text, [](char c) { return c >= 0; });
  if (!graph || !isASCII) return 0;
  const auto expected = isFoundByICU(pattern, text);
  PatternAutomaton automaton(*std::move(graph));
  const auto answer = automaton.search(text);
  if (!expected || answer == PatternAutomaton::Answer::unknown) return 0;
  require(*expected == (answer == PatternAutomaton::Answer::found));
  return 0;
}
