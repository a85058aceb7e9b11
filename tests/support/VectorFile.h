#pragma once

#include <charconv>
#include <fstream>
#include <iterator>

#include "tests/support/Test.h"
#include "tests/support/TestData.h"

/// Reads the case files under tests/data. Kept apart from the library's own JSON reader, so that neither can
/// hide a fault of the other. Anything malformed throws std::runtime_error, which fails the test that asked.
namespace tilvanego::test {

/// One JSON value of a case file.
class VectorValue {
 public:
  enum class Kind { null, boolean, number, text, array, object };

  Kind kind = Kind::null;
  bool truth = false;
  /// A text's content in UTF-8, or a number's literal as it stands in the file.
  std::string content;
  /// An array's elements, or an object's values in the file's order.
  std::vector<VectorValue> elements;
  /// An object's field names, one for each of `elements`.
  std::vector<std::string> names;

  bool isNull() const { return kind == Kind::null; }
  bool boolean() const { return expect(Kind::boolean).truth; }
  const std::string& text() const { return expect(Kind::text).content; }
  /// A number's literal, for what a double can't hold.
  const std::string& literal() const { return expect(Kind::number).content; }
  const std::vector<VectorValue>& array() const { return expect(Kind::array).elements; }

  /// The text, or nothing for null.
  std::optional<std::string> optionalText() const {
    return isNull() ? std::nullopt : std::optional<std::string>(text());
  }
  double number() const { return std::stod(literal()); }
  std::int64_t integer() const {
    std::int64_t value = 0;
    const std::string& digits = literal();
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc{} || end != digits.data() + digits.size()) {
      throw std::runtime_error("not an integer: " + digits);
    }
    return value;
  }

  bool has(std::string_view name) const { return find(name) != nullptr; }
  const VectorValue& operator[](std::string_view name) const {
    const VectorValue* value = find(name);
    if (value == nullptr) throw std::runtime_error("no field " + std::string(name));
    return *value;
  }
  const VectorValue& operator[](std::size_t index) const { return array().at(index); }

 private:
  const VectorValue& expect(Kind wanted) const {
    if (kind != wanted) throw std::runtime_error("value of another kind; content: " + content);
    return *this;
  }
  const VectorValue* find(std::string_view name) const {
    const auto found = std::ranges::find(expect(Kind::object).names, name);
    return found == names.end() ? nullptr : &elements[static_cast<std::size_t>(found - names.begin())];
  }
};

/// Strict enough for files that we write ourselves; recursion follows the file's nesting.
class VectorReader {
 public:
  explicit VectorReader(std::string_view text) : text_(text) {}

  VectorValue document() {
    VectorValue value = readValue();
    skipBlanks();
    if (at_ != text_.size()) fail("text after the document");
    return value;
  }

 private:
  [[noreturn]] void fail(const char* what) const {
    throw std::runtime_error(std::string(what) + " at byte " + std::to_string(at_));
  }
  char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  void skipBlanks() {
    while (at_ < text_.size() && std::string_view(" \t\r\n").contains(text_[at_])) ++at_;
  }
  void take(std::string_view expected) {
    if (!text_.substr(at_).starts_with(expected)) fail("unexpected character");
    at_ += expected.size();
  }

  VectorValue readValue() {
    skipBlanks();
    VectorValue value;
    switch (peek()) {
      case '{':
        readObject(value);
        break;
      case '[':
        readArray(value);
        break;
      case '"':
        value.kind = VectorValue::Kind::text;
        value.content = readText();
        break;
      case 't':
      case 'f':
        value.kind = VectorValue::Kind::boolean;
        value.truth = peek() == 't';
        take(value.truth ? "true" : "false");
        break;
      case 'n':
        take("null");
        break;
      default:
        readNumber(value);
    }
    return value;
  }

  void readNumber(VectorValue& value) {
    const std::size_t start = at_;
    while (std::string_view("+-.0123456789eE").contains(peek()) && peek() != '\0') ++at_;
    if (at_ == start) fail("no value");
    value.kind = VectorValue::Kind::number;
    value.content = text_.substr(start, at_ - start);
  }

  void readArray(VectorValue& value) {
    value.kind = VectorValue::Kind::array;
    take("[");
    for (skipBlanks(); peek() != ']'; skipBlanks()) {
      if (!value.elements.empty()) take(",");
      value.elements.push_back(readValue());
    }
    take("]");
  }

  void readObject(VectorValue& value) {
    value.kind = VectorValue::Kind::object;
    take("{");
    for (skipBlanks(); peek() != '}'; skipBlanks()) {
      if (!value.names.empty()) take(",");
      skipBlanks();
      value.names.push_back(readText());
      skipBlanks();
      take(":");
      value.elements.push_back(readValue());
    }
    take("}");
  }

  std::string readText() {
    take("\"");
    std::string result;
    while (peek() != '"') {
      if (at_ == text_.size()) fail("text without an end");
      const char unit = text_[at_++];
      if (unit == '\\') {
        readEscape(result);
      } else {
        result += unit;
      }
    }
    take("\"");
    return result;
  }

  void readEscape(std::string& result) {
    constexpr std::string_view letters = "bfnrt\"\\/", meanings = "\b\f\n\r\t\"\\/";
    const char letter = peek();
    ++at_;
    if (letter == 'u') return appendUTF8(readCodePoint(), result);
    const std::size_t which = letters.find(letter);
    if (which == std::string_view::npos) fail("unknown escape");
    result += meanings[which];
  }

  char32_t readCodePoint() {
    const char32_t first = readHex();
    if (first < 0xD800 || first > 0xDBFF) return first;
    take("\\u");
    return 0x10000 + ((first - 0xD800) << 10) + (readHex() - 0xDC00);
  }

  char32_t readHex() {
    std::uint32_t value = 0;
    const std::string_view digits = text_.substr(at_, 4);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (digits.size() != 4 || error != std::errc{} || end != digits.data() + 4) fail("bad \\u escape");
    at_ += 4;
    return value;
  }

  static void appendUTF8(char32_t point, std::string& result) {
    const auto tail = [&](unsigned shift) { result += static_cast<char>(0x80 | ((point >> shift) & 0x3F)); };
    if (point < 0x80) {
      result += static_cast<char>(point);
    } else if (point < 0x800) {
      result += static_cast<char>(0xC0 | (point >> 6));
      tail(0);
    } else if (point < 0x10000) {
      result += static_cast<char>(0xE0 | (point >> 12));
      tail(6), tail(0);
    } else {
      result += static_cast<char>(0xF0 | (point >> 18));
      tail(12), tail(6), tail(0);
    }
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

/// The whole of tests/data/`fileName`.
inline VectorValue vectorFile(const std::string& fileName) {
  std::ifstream file(testDataPath(fileName), std::ios::binary);
  if (!file) throw std::runtime_error("can't open " + fileName);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  return VectorReader(text).document();
}

/// The "cases" of tests/data/`fileName`. `count` is how many there must be, so that a lost case fails the
/// test.
inline std::vector<VectorValue> vectorCases(const std::string& fileName, std::size_t count) {
  std::vector<VectorValue> cases = vectorFile(fileName)["cases"].array();
  EXPECT_EQ(cases.size(), count) << fileName;
  return cases;
}

}  // namespace tilvanego::test
