#include <cstddef>
#include <optional>
#include <string_view>

#include <tilvanego/json/JSONReader.h>

// How the reader recognises the kind of a value, and reads null, booleans and numbers.
namespace tilvanego {
namespace [[gnu::visibility("default")]] json {
namespace {

constexpr bool startsNumber(char c) { return c == '-' || (c >= '0' && c <= '9'); }

bool kindFrom(char first, JSONKind& kind) {
  switch (first) {
    case '"':
      kind = JSONKind::string;
      return true;
    case '{':
      kind = JSONKind::object;
      return true;
    case '[':
      kind = JSONKind::array;
      return true;
    case 't':
    case 'f':
      kind = JSONKind::boolean;
      return true;
    case 'n':
      kind = JSONKind::null;
      return true;
    default:
      kind = JSONKind::number;
      return startsNumber(first);
  }
}

}  // namespace

bool Reader::failKind(JSONKind expected) {
  if (cursor_ == end_) return failAt(cursor_, JSONFailure::unexpectedEnd);
  if (!kindFrom(*cursor_, error_.found)) return failAt(cursor_, JSONFailure::unexpectedCharacter);
  error_.expected = expected;
  return failAt(cursor_, JSONFailure::wrongKind);
}

bool Reader::peek(JSONKind& kind) {
  skipBlanks();
  value_ = cursor_;
  if (cursor_ == end_) return failAt(cursor_, JSONFailure::unexpectedEnd);
  return kindFrom(*cursor_, kind) || failAt(cursor_, JSONFailure::unexpectedCharacter);
}

bool Reader::takeWord(std::string_view word) {
  const std::string_view rest(cursor_, static_cast<std::size_t>(end_ - cursor_));
  if (!rest.starts_with(word)) return false;
  cursor_ += word.size();
  return true;
}

bool Reader::takeNull() {
  skipBlanks();
  value_ = cursor_;
  return takeWord("null");
}

bool Reader::readBoolean(bool& value) {
  skipBlanks();
  value_ = cursor_;
  value = takeWord("true");
  if (value || takeWord("false")) return true;
  JSONKind found{};
  if (!peek(found)) return false;
  return found == JSONKind::boolean ? failAt(cursor_, JSONFailure::unexpectedCharacter)
                                    : failKind(JSONKind::boolean);
}

bool Reader::readNumber(detail::JSONNumber& number) {
  skipBlanks();
  value_ = cursor_;
  if (cursor_ == end_ || !startsNumber(*cursor_)) return failKind(JSONKind::number);
  number = detail::scanJSONNumber({cursor_, static_cast<std::size_t>(end_ - cursor_)});
  cursor_ += number.text.size();
  return !number.text.empty() || failAt(value_, JSONFailure::invalidNumber);
}

bool Reader::readInteger(std::int64_t& value) {
  detail::JSONNumber number;
  if (!readNumber(number)) return false;
  const std::optional<std::int64_t> whole = number.asInteger();
  value = whole.value_or(0);
  return whole || fail(JSONFailure::numberOutOfRange, "the number is not a whole number of 64 bits");
}

bool Reader::readInteger(std::uint64_t& value) {
  detail::JSONNumber number;
  if (!readNumber(number)) return false;
  const std::optional<std::uint64_t> whole = number.asUnsigned();
  value = whole.value_or(0);
  return whole ||
         fail(JSONFailure::numberOutOfRange, "the number is not a whole number of 64 bits without a sign");
}

bool Reader::readDouble(double& value) {
  detail::JSONNumber number;
  if (!readNumber(number)) return false;
  const std::optional<double> nearest = number.asDouble();
  value = nearest.value_or(0);
  return nearest || fail(JSONFailure::numberOutOfRange);
}

bool Reader::readFloat(float& value) {
  detail::JSONNumber number;
  if (!readNumber(number)) return false;
  const std::optional<float> nearest = number.asFloat();
  value = nearest.value_or(0);
  return nearest || fail(JSONFailure::numberOutOfRange);
}

}  // namespace json
}  // namespace tilvanego
