#include <tilvanego/platform/network/curl/ResponseHead.h>

#include <tilvanego/platform/network/curl/FieldSyntax.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/UTF8.h>

#include <algorithm>
#include <utility>

namespace tilvanego::detail {

namespace {

bool isContinuation(std::string_view line) { return line.starts_with(' ') || line.starts_with('\t'); }

std::string_view takeLine(std::string_view& rest) {
  const auto line = rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
  rest.remove_prefix(line.size());
  return line;
}

std::string fieldText(std::string_view bytes) {
  if (isValidUTF8(bytes)) return std::string(bytes);
  std::string text;
  for (const char byte : bytes) appendScalar(text, static_cast<unsigned char>(byte));
  return text;
}

}  // namespace

bool ResponseHead::addLine(std::string_view line) {
  if (inBody_) return true;
  if (line.starts_with("HTTP/") && (bytes_.empty() || complete_)) clear();
  if (complete_) return (trailerBytes_ += line.size()) <= maximumBytes;
  if (bytes_.size() + line.size() > maximumBytes) return false;
  bytes_.append(line);
  if (line != "\r\n" && line != "\n") return ++lines_ <= maximumFields + 1;
  complete_ = true;
  readFields();
  return true;
}

HTTPHeaders ResponseHead::take() {
  auto headers = std::exchange(headers_, {});
  clear();
  return headers;
}

void ResponseHead::clear() {
  bytes_.clear();
  lines_ = 0;
  trailerBytes_ = 0;
  complete_ = false;
  inBody_ = false;
  statusLine_.clear();
  headers_ = {};
}

// A line that begins with a blank goes on with the value before it (RFC 9112, section 5.2).
void ResponseHead::readFields() {
  headers_.reserve(lines_);
  const bool isASCII = asciiPrefixLength(bytes_) == bytes_.size();
  std::string_view rest = bytes_;
  std::string unfolded;
  while (!rest.empty()) {
    auto line = takeLine(rest);
    if (statusLine_.empty() && line.starts_with("HTTP/")) {
      statusLine_ = fieldText(trimmedField(line));
    } else if (!isContinuation(line)) {
      if (isContinuation(rest)) {
        unfolded = trimmedField(line);
        while (isContinuation(rest)) {
          if (const auto more = trimmedField(takeLine(rest)); !more.empty())
            unfolded.append(" ").append(more);
        }
        line = unfolded;
      }
      addField(line, isASCII);
    }
  }
}

void ResponseHead::addField(std::string_view line, bool isASCII) {
  const auto colon = line.find(':');
  if (colon == std::string_view::npos) return;
  const auto name = trimmedField(line.substr(0, colon));
  const auto value = trimmedField(line.substr(colon + 1));
  if (!isToken(name)) return;
  headers_.addValue(name, isASCII ? std::string(value) : fieldText(value));
}

}  // namespace tilvanego::detail
