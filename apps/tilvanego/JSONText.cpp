#include "JSONText.h"

#include <algorithm>
#include <cstddef>

#include <tilvanego/values/Text.h>

namespace tilvanego::program {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

void appendEscaped(std::string& out, char c) {
  constexpr std::string_view special = "\"\\\b\f\n\r\t";
  constexpr std::string_view letters = "\"\\bfnrt";
  constexpr std::string_view hexadecimal = "0123456789abcdef";
  out += '\\';
  if (const std::size_t at = special.find(c); at != std::string_view::npos) {
    out += letters[at];
    return;
  }
  const auto byte = static_cast<unsigned char>(c);
  out += "u00";
  out += hexadecimal[byte >> 4U];
  out += hexadecimal[byte & 0xFU];
}

std::string repairedUTF8(std::string_view text) {
  std::string repaired;
  while (!text.empty()) {
    std::size_t length = 1;
    while (length < std::min<std::size_t>(4, text.size()) && !isValidUTF8(text.substr(0, length))) ++length;
    const bool valid = isValidUTF8(text.substr(0, length));
    repaired += valid ? text.substr(0, length) : replacement;
    text.remove_prefix(valid ? length : 1);
  }
  return repaired;
}

}  // namespace

JSONText jsonText(std::string_view value) {
  if (!isValidUTF8(value)) return jsonText(std::string_view(repairedUTF8(value)));
  std::string out;
  out.reserve(value.size() + 2);
  out += '"';
  for (const char c : value) {
    if (static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\') {
      appendEscaped(out, c);
    } else {
      out += c;
    }
  }
  out += '"';
  return {std::move(out)};
}

JSONText jsonText(std::int64_t value) { return {std::to_string(value)}; }

JSONObject& JSONObject::addText(std::string_view name, const JSONText& value) {
  if (text_.size() > 1) text_ += ',';
  text_ += jsonText(name).text;
  text_ += ':';
  text_ += value.text;
  return *this;
}

void JSONList::add(const JSONObject& element) {
  if (text_.size() > 1) text_ += ',';
  text_ += element.finish().text;
}

}  // namespace tilvanego::program
