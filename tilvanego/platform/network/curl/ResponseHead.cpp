#include <tilvanego/platform/network/curl/ResponseHead.h>

#include <tilvanego/http_client/FieldSyntax.h>

namespace tilvanego::detail {

namespace {

bool isContentEncoding(std::string_view line) {
  constexpr std::string_view name = "content-encoding:";
  return equalsIgnoringCase(line.substr(0, name.size()), name);
}

}  // namespace

bool ResponseHead::addLine(std::string_view line) {
  received_ += line.size();
  if (received_ > maximumBytes_) return false;
  if (inBody_) return true;
  if (line.starts_with("HTTP/") && (bytes_.empty() || complete_)) startOver();
  if (complete_) return true;
  bytes_.append(line);
  if (line == "\r\n" || line == "\n") {
    complete_ = true;
    return true;
  }
  if (isContentEncoding(line)) hasContentEncoding_ = true;
  return ++lineCount_ <= maximumFields + 1;
}

void ResponseHead::clear() {
  startOver();
  received_ = 0;
}

void ResponseHead::startOver() {
  bytes_.clear();
  lineCount_ = 0;
  complete_ = false;
  inBody_ = false;
  hasContentEncoding_ = false;
}

}  // namespace tilvanego::detail
