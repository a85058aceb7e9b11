#include <tilvanego/network/HTTPHead.h>

#include <algorithm>
#include <cstddef>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/UTF8.h>

namespace tilvanego::detail {
namespace {

bool isContinuation(std::string_view line) { return line.starts_with(' ') || line.starts_with('\t'); }

std::string_view takeLine(std::string_view& rest) {
  const auto line = rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
  rest.remove_prefix(line.size());
  return line;
}

void addField(HTTPHeaders& headers, std::string_view line, FieldValues values) {
  const auto colon = line.find(':');
  if (colon == std::string_view::npos) return;
  const auto name = trimmedField(line.substr(0, colon));
  if (!isToken(name)) return;
  const auto value = trimmedField(line.substr(colon + 1));
  headers.addValue(name, values == FieldValues::texts ? fieldText(value) : std::string(value));
}

}  // namespace

std::string fieldText(std::string_view bytes) {
  if (isValidUTF8(bytes)) return std::string(bytes);
  std::string text;
  for (const char byte : bytes) appendScalar(text, static_cast<unsigned char>(byte));
  return text;
}

// A line that begins with a space or tab continues the value of the line before it (RFC 9112, section 5.2).
HTTPHead readHead(std::string_view lines, FieldValues values) {
  HTTPHead head;
  head.headers.reserve(static_cast<std::size_t>(std::ranges::count(lines, '\n')));
  std::string unfolded;
  while (!lines.empty()) {
    auto line = takeLine(lines);
    if (head.statusLine.empty() && line.starts_with("HTTP/")) {
      head.statusLine = fieldText(trimmedField(line));
    } else if (!isContinuation(line)) {
      if (isContinuation(lines)) {
        unfolded = trimmedField(line);
        while (isContinuation(lines)) {
          if (const auto more = trimmedField(takeLine(lines)); !more.empty())
            unfolded.append(" ").append(more);
        }
        line = unfolded;
      }
      addField(head.headers, line, values);
    }
  }
  return head;
}

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

const detail::HTTPHead& HTTPURLResponse::head() const {
  // No `std::call_once`, which wakes waiting threads by a system call, also if there are none.
  if (!isRead_.load(std::memory_order_acquire)) {
    const std::lock_guard held(reading_);
    if (!isRead_.load(std::memory_order_relaxed)) head_ = detail::readHead(unread_->lines);
    isRead_.store(true, std::memory_order_release);
  }
  return head_;
}

}  // namespace tilvanego
