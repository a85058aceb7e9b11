#include <tilvanego/json/JSONError.h>

#include <algorithm>
#include <array>
#include <ranges>

#include <tilvanego/json/JSONWriter.h>
#include <tilvanego/values/OneLine.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

// Empty for a value that is none of the enumeration's cases.
template <typename Case, std::size_t count>
std::string_view textOf(const std::array<std::string_view, count>& texts, Case value) {
  const auto index = static_cast<std::size_t>(value);
  return index < count ? texts[index] : std::string_view();
}

std::string_view nameOf(JSONKind kind) {
  static constexpr std::array<std::string_view, 6> names = {"null",   "true or false", "a number",
                                                            "a text", "a list",        "an object"};
  static_assert(names.size() == static_cast<std::size_t>(JSONKind::object) + 1);
  return textOf(names, kind);
}

std::string_view wordsFor(JSONFailure failure) {
  // In the order of the failures.
  static constexpr std::array<std::string_view, 15> words = {
      "the text ends inside a value",
      "unexpected character",
      "something follows the value",
      "malformed number",
      "invalid escape in a text",
      "unescaped control character in a text",
      "text that is not UTF-8",
      "nested too deeply",
      "value of the wrong kind",
      "the number does not fit",
      "missing key",
      "unknown text",
      "invalid value",
      "the number is not finite",
      "beyond the limits of reading",
  };
  static_assert(words.size() == static_cast<std::size_t>(JSONFailure::beyondLimit) + 1);
  return textOf(words, failure);
}

// True for a text that is not JSON, or that exceeds a limit.
bool isAboutText(JSONFailure failure) {
  return failure <= JSONFailure::tooDeep || failure == JSONFailure::beyondLimit;
}

std::string shown(std::string_view text) { return tilvanego::detail::inOneLine(text); }

bool readsAsName(std::string_view key) {
  return !key.empty() && std::ranges::all_of(key, [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  });
}

}  // namespace

std::string JSONError::path() const {
  std::string text;
  for (const JSONPathStep& step : std::views::reverse(stepsOutward)) {
    if (const auto* index = std::get_if<std::size_t>(&step)) {
      text += '[' + std::to_string(*index) + ']';
      continue;
    }
    const auto& key = std::get<std::string>(step);
    if (readsAsName(key)) {
      text += (text.empty() ? "" : ".") + key;
      continue;
    }
    json::Writer quoted;
    text += '[' + (quoted.text(key) ? shown(quoted.take()) : std::string("?")) + ']';
  }
  return text;
}

std::string JSONError::reason() const {
  if (failure == JSONFailure::wrongKind) {
    std::string text("expected ");
    return text.append(nameOf(expected)).append(", found ").append(nameOf(found));
  }
  return detail.empty() || failure == JSONFailure::missingKey ? std::string(wordsFor(failure))
                                                              : shown(detail);
}

std::string JSONError::report() const {
  std::string where = path();
  if (failure == JSONFailure::missingKey) where += (where.empty() ? "" : ".") + shown(detail);
  if (where.empty()) where = '$';
  where += ": " + reason();
  return isAboutText(failure) && !onWriting ? where + " (byte " + std::to_string(offset) + ")" : where;
}

std::string JSONError::description() const {
  std::string text = failure == JSONFailure::missingKey ? shown(detail) + " is missing" : reason();
  if (const std::string where = path(); !where.empty()) text += " at " + where;
  if (offset != 0) text += " (byte " + std::to_string(offset) + ")";
  return text;
}

}  // namespace tilvanego
