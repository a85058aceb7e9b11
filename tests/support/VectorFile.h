#pragma once

#include "tests/support/TemporaryDirectory.h"
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
  /// A text's content in UTF-8, or the literal of a number or a boolean as it stands in the file.
  std::string content;
  /// An array's elements, or an object's values in the file's order.
  std::vector<VectorValue> elements;
  /// An object's field names, one for each of `elements`.
  std::vector<std::string> names;

  bool isNull() const { return kind == Kind::null; }
  bool boolean() const { return expect(Kind::boolean).content == "true"; }
  const std::string& text() const { return expect(Kind::text).content; }
  /// A number's literal, for what a double can't hold.
  const std::string& literal() const { return expect(Kind::number).content; }
  double number() const { return std::stod(literal()); }
  std::int64_t integer() const { return std::stoll(literal()); }
  const std::vector<VectorValue>& array() const { return expect(Kind::array).elements; }
  /// The text, or nothing for null.
  std::optional<std::string> optionalText() const {
    return isNull() ? std::nullopt : std::optional<std::string>(text());
  }

  const VectorValue& operator[](std::string_view name) const {
    const auto found = std::ranges::find(expect(Kind::object).names, name);
    if (found == names.end()) throw std::runtime_error("no field " + std::string(name));
    return elements[static_cast<std::size_t>(found - names.begin())];
  }
  const VectorValue& operator[](std::size_t index) const { return array().at(index); }

 private:
  const VectorValue& expect(Kind wanted) const {
    if (kind != wanted) throw std::runtime_error("value of another kind; content: " + content);
    return *this;
  }
};

/// Strict enough for files that we write ourselves; recursion follows the file's nesting.
class VectorReader {
 public:
  explicit VectorReader(std::string_view text) : rest_(text) {}

  VectorValue document() {
    VectorValue value = readValue();
    if (next() != '\0') fail("the end");
    return value;
  }

 private:
  [[noreturn]] void fail(std::string_view expected) const {
    throw std::runtime_error("expected " + std::string(expected) + " before " +
                             std::string(rest_.substr(0, 40)));
  }
  /// The next character that is no blank; NUL at the end.
  char next() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size()));
    return rest_.empty() ? '\0' : rest_.front();
  }
  std::string_view cut(std::size_t size) {
    if (size > rest_.size()) fail("more");
    const std::string_view front = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return front;
  }
  void take(char expected) {
    if (next() != expected) fail({&expected, 1});
    cut(1);
  }

  VectorValue readValue() {
    VectorValue value;
    const char first = next();
    if (first == '{' || first == '[') {
      value.kind = first == '{' ? VectorValue::Kind::object : VectorValue::Kind::array;
      readElements(value, first, first == '{' ? '}' : ']');
    } else if (first == '"') {
      value.kind = VectorValue::Kind::text;
      value.content = readText();
    } else {
      value.content = cut(std::min(rest_.find_first_of(" \t\r\n,]}"), rest_.size()));
      if (value.content == "true" || value.content == "false") {
        value.kind = VectorValue::Kind::boolean;
      } else if (value.content != "null") {
        if (!std::string_view("-0123456789").contains(first)) fail("a value");
        value.kind = VectorValue::Kind::number;
      }
    }
    return value;
  }

  void readElements(VectorValue& value, char begin, char end) {
    take(begin);
    while (next() != end) {
      if (!value.elements.empty()) take(',');
      if (begin == '{') {
        value.names.push_back(readText());
        take(':');
      }
      value.elements.push_back(readValue());
    }
    take(end);
  }

  std::string readText() {
    take('"');
    std::string text;
    for (char unit = 0; (unit = cut(1)[0]) != '"';) {
      if (unit == '\\') {
        appendEscaped(cut(1)[0], text);
      } else {
        text += unit;
      }
    }
    return text;
  }

  void appendEscaped(char letter, std::string& text) {
    if (letter != 'u') {
      if (!std::string_view("n\"\\").contains(letter)) fail("an escape that is known");
      text += letter == 'n' ? '\n' : letter;
      return;
    }
    const auto point = static_cast<unsigned>(std::stoul(std::string(cut(4)), nullptr, 16));
    if (point >= 0xD800 && point <= 0xDFFF) fail("an escape that is a character");
    if (point < 0x80) {
      text += static_cast<char>(point);
    } else {
      text += static_cast<char>(point < 0x800 ? 0xC0 | (point >> 6U) : 0xE0 | (point >> 12U));
      if (point >= 0x800) text += static_cast<char>(0x80 | ((point >> 6U) & 0x3FU));
      text += static_cast<char>(0x80 | (point & 0x3FU));
    }
  }

  std::string_view rest_;
};

/// The whole of tests/data/`fileName`.
inline VectorValue vectorFile(const std::string& fileName) {
  return VectorReader(contentOf(testDataPath(fileName))).document();
}

/// The "cases" of tests/data/`fileName`. `count` is how many there must be, so that a lost case fails the
/// test.
inline std::vector<VectorValue> vectorCases(const std::string& fileName, std::size_t count) {
  std::vector<VectorValue> cases = vectorFile(fileName)["cases"].array();
  EXPECT_EQ(cases.size(), count) << fileName;
  return cases;
}

}  // namespace tilvanego::test
