#include <tilvanego/network/curl/ResponseHead.h>

#include <charconv>
#include <limits>
#include <system_error>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/values/ASCII.h>

namespace tilvanego::detail {
namespace {

bool isField(std::string_view line, std::string_view nameInLowerCase) {
  return equalIgnoringASCIICase(line.substr(0, nameInLowerCase.size()), nameInLowerCase);
}

}  // namespace

bool ResponseHead::addLine(std::string_view line) {
  const bool isEmpty = line == "\r\n" || line == "\n";
  const bool isFirst = !inBody_ && line.starts_with("HTTP/") && (bytes_.empty() || complete_);
  received_ += line.size();
  if (!isEmpty && !isFirst) ++fieldCount_;
  if (received_ > maxBytes_ || fieldCount_ > maxFields) return false;
  if (isFirst) startOver();
  if (inBody_ || complete_) return true;
  bytes_.append(line);
  if (isEmpty) complete_ = true;
  constexpr std::string_view length = "content-length:";
  if (isField(line, "content-encoding:")) hasContentEncoding_ = true;
  if (isField(line, length)) noteLength(line.substr(length.size()));
  return true;
}

void ResponseHead::clear() {
  startOver();
  received_ = 0;
  fieldCount_ = 0;
}

// libcurl would use the last of several lengths, and the digits at the start of an invalid one.
void ResponseHead::noteLength(std::string_view value) {
  for (;;) {
    const auto comma = value.find(',');
    const std::string_view digits = trimmedField(value.substr(0, comma));
    std::uint64_t length = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
    const bool isNumber = error == std::errc() && end == digits.data() + digits.size() &&
                          length <= std::uint64_t{std::numeric_limits<std::int64_t>::max()};
    if (!isNumber || length_.value_or(length) != length) hasBrokenLength_ = true;
    length_ = length;
    if (comma == value.npos) return;
    value.remove_prefix(comma + 1);
  }
}

void ResponseHead::startOver() {
  bytes_.clear();
  complete_ = false;
  inBody_ = false;
  hasContentEncoding_ = false;
  hasBrokenLength_ = false;
  length_.reset();
}

}  // namespace tilvanego::detail
