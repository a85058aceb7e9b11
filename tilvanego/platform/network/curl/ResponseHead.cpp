#include <tilvanego/platform/network/curl/ResponseHead.h>

#include <tilvanego/platform/network/curl/FieldSyntax.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/UTF8.h>

#include <utility>

namespace tilvanego::detail {

namespace {

std::string fieldText(std::string_view bytes) {
  if (isValidUTF8(bytes)) return std::string(bytes);
  std::string text;
  for (const char byte : bytes) appendScalar(text, static_cast<unsigned char>(byte));
  return text;
}

}  // namespace

bool ResponseHead::addLine(std::string_view line) {
  if (inBody_) return true;
  if (line.starts_with("HTTP/") && (bytes_ == 0 || complete_)) {
    *this = ResponseHead();
    bytes_ = line.size();
    if (bytes_ > maximumBytes) return false;
    statusLine_ = fieldText(trimmedField(line));
    return true;
  }
  bytes_ += line.size();
  if (bytes_ > maximumBytes || complete_) return bytes_ <= maximumBytes;

  if (trimmedField(line).empty() && !line.starts_with(' ') && !line.starts_with('\t')) {
    complete_ = true;
  } else if (line.starts_with(' ') || line.starts_with('\t')) {
    continueField(line);
  } else {
    addField(line);
  }
  return ++fields_ <= maximumFields;
}

void ResponseHead::addField(std::string_view line) {
  const auto colon = line.find(':');
  lastName_.clear();
  if (colon == std::string_view::npos) return;
  const auto name = trimmedField(line.substr(0, colon));
  if (!isToken(name)) return;
  auto value = fieldText(trimmedField(line.substr(colon + 1)));
  if (const auto earlier = headers_.value(name)) value = std::string(*earlier).append(", ").append(value);
  lastName_ = name;
  headers_.setValue(name, std::move(value));
}

// A value that goes on in a further line (RFC 9112, section 5.2): the break counts as one blank.
void ResponseHead::continueField(std::string_view line) {
  const auto earlier = headers_.value(lastName_);
  const auto more = trimmedField(line);
  if (!earlier || more.empty()) return;
  const std::string_view blank = earlier->empty() ? "" : " ";
  headers_.setValue(lastName_, std::string(*earlier).append(blank).append(fieldText(more)));
}

HTTPHeaders ResponseHead::take() {
  auto headers = std::move(headers_);
  *this = ResponseHead();
  return headers;
}

}  // namespace tilvanego::detail
