#include <tilvanego/json/JSONError.h>
#include <tilvanego/json/JSONWriter.h>
#include <algorithm>
#include <array>
#include <ranges>

namespace tilvanego {
namespace {

std::string_view nameOf(JSONKind kind) {
  static constexpr std::array<std::string_view, 6> names = {"null",   "true or false", "a number",
                                                            "a text", "a list",        "an object"};
  return names[static_cast<std::size_t>(kind)];
}

std::string_view wordsFor(JSONFailure failure) {
  switch (failure) {
    case JSONFailure::unexpectedEnd:
      return "the text ends inside a value";
    case JSONFailure::unexpectedCharacter:
      return "unexpected character";
    case JSONFailure::trailingContent:
      return "something follows the value";
    case JSONFailure::invalidNumber:
      return "malformed number";
    case JSONFailure::invalidEscape:
      return "invalid escape in a text";
    case JSONFailure::controlCharacter:
      return "unescaped control character in a text";
    case JSONFailure::invalidUTF8:
      return "text that is not UTF-8";
    case JSONFailure::tooDeep:
      return "nested too deeply";
    case JSONFailure::wrongKind:
      return "value of the wrong kind";
    case JSONFailure::numberOutOfRange:
      return "the number does not fit";
    case JSONFailure::missingKey:
      return "missing key";
    case JSONFailure::unknownText:
      return "unknown text";
    case JSONFailure::invalidValue:
      return "invalid value";
    case JSONFailure::notFinite:
      return "the number is not finite";
  }
  return {};
}

// Of a text that is no JSON at all.
bool isAboutGrammar(JSONFailure failure) { return failure <= JSONFailure::tooDeep; }

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
    text += '[' + (quoted.text(key) ? quoted.take() : std::string("?")) + ']';
  }
  return text;
}

std::string JSONError::reason() const {
  if (failure == JSONFailure::wrongKind) {
    std::string text("expected ");
    return text.append(nameOf(expected)).append(", found ").append(nameOf(found));
  }
  return detail.empty() || failure == JSONFailure::missingKey ? std::string(wordsFor(failure)) : detail;
}

std::string JSONError::report() const {
  std::string where = path();
  if (failure == JSONFailure::missingKey) where += (where.empty() ? "" : ".") + detail;
  if (where.empty()) where = '$';
  where += ": " + reason();
  return isAboutGrammar(failure) ? where + " (byte " + std::to_string(offset) + ")" : where;
}

std::string JSONError::description() const {
  std::string text = failure == JSONFailure::missingKey ? detail + " is missing" : reason();
  if (const std::string where = path(); !where.empty()) text += " at " + where;
  if (offset != 0) text += " (byte " + std::to_string(offset) + ")";
  return text;
}

}  // namespace tilvanego
