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
  if (inBody_) return true;
  if (line.starts_with("HTTP/") && (bytes_.empty() || complete_)) clear();
  if (complete_) return (trailerBytes_ += line.size()) <= maximumBytes;
  if (bytes_.size() + line.size() > maximumBytes) return false;
  bytes_.append(line);
  if (line == "\r\n" || line == "\n") {
    complete_ = true;
    return true;
  }
  if (isContentEncoding(line)) hasContentEncoding_ = true;
  return ++lineCount_ <= maximumFields + 1;
}

void ResponseHead::clear() {
  bytes_.clear();
  lineCount_ = 0;
  trailerBytes_ = 0;
  complete_ = false;
  inBody_ = false;
  hasContentEncoding_ = false;
}

}  // namespace tilvanego::detail
