#include <cstdint>

#include "links.h"

namespace tilvanego::bench {

namespace {

constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

bool same(std::string_view name, std::string_view key) {
  if (name.size() != key.size()) return false;
  for (std::size_t i = 0; i < key.size(); ++i) {
    if (lower(name[i]) != key[i]) return false;
  }
  return true;
}

}  // namespace

std::size_t fieldOf(std::string_view name) {
  switch (name.size()) {
    case 6:
      return same(name, "status") || same(name, "result") ? 1 : same(name, "txn_id") ? 4 : 6;
    case 7:
      return same(name, "message") ? 2 : 6;
    case 8:
      return same(name, "customid") ? 5 : 6;
    case 9:
      return same(name, "requestid") || same(name, "sessionid") ? 0 : same(name, "custom_id") ? 5 : 6;
    case 10:
      return same(name, "request_id") || same(name, "session_id") ? 0 : 6;
    case 12:
      return same(name, "approvalcode") ? 3 : 6;
    case 13:
      return same(name, "approval_code") ? 3 : same(name, "transactionid") ? 4 : 6;
    case 14:
      return same(name, "transaction_id") ? 4 : 6;
    case 16:
      return same(name, "processormessage") ? 2 : 6;
    case 17:
      return same(name, "processor_message") ? 2 : 6;
    default:
      return 6;
  }
}

bool decide(Read& read) {
  if (read.fields[0] && *read.fields[0] != expectedRequestId) return false;
  if (!read.fields[1]) return false;
  std::string status = *read.fields[1];
  for (char& c : status) c = lower(c);
  read.approved =
      status == "approved" || status == "success" || status == "succeeded" || status == "completed";
  return true;
}

namespace hand {

namespace {

struct Tables {
  std::uint8_t allowed[256]{};
  std::uint8_t unreserved[256]{};
  std::int8_t hex[256]{};
  constexpr Tables() {
    for (auto& value : hex) value = -1;
    for (int c = '0'; c <= '9'; ++c) hex[c] = static_cast<std::int8_t>(c - '0');
    for (int c = 0; c < 6; ++c) hex['a' + c] = hex['A' + c] = static_cast<std::int8_t>(10 + c);
    for (int c = 0; c < 26; ++c) allowed['a' + c] = allowed['A' + c] = 1;
    for (int c = '0'; c <= '9'; ++c) allowed[c] = 1;
    for (char c : std::string_view("-._~!$&'()*+,;=:@/?")) allowed[static_cast<std::uint8_t>(c)] = 1;
    for (int c = 0; c < 256; ++c) unreserved[c] = allowed[c];
    unreserved['&'] = unreserved['='] = 0;
  }
};
constexpr Tables tables;

std::uint8_t byte(char c) { return static_cast<std::uint8_t>(c); }

bool check(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (tables.allowed[byte(text[i])]) continue;
    if (text[i] != '%' || i + 2 >= text.size()) return false;
    if (tables.hex[byte(text[i + 1])] < 0 || tables.hex[byte(text[i + 2])] < 0) return false;
    i += 2;
  }
  return true;
}

std::string decode(std::string_view text) {
  if (text.find('%') == std::string_view::npos) return std::string(text);
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
    } else {
      out += static_cast<char>(tables.hex[byte(text[i + 1])] << 4 | tables.hex[byte(text[i + 2])]);
      i += 2;
    }
  }
  return out;
}

}  // namespace

std::optional<Read> read(std::string_view text) {
  if (!check(text)) return std::nullopt;
  const std::size_t mark = text.find('?');
  if (mark == std::string_view::npos || !same(text.substr(0, mark), expectedCallback)) return std::nullopt;
  Read result;
  result.callback = text;
  std::string_view rest = text.substr(mark + 1);
  while (!rest.empty()) {
    const std::size_t end = rest.find('&');
    const std::string_view item = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    const std::size_t sign = item.find('=');
    const std::size_t field = fieldOf(item.substr(0, sign));
    if (field < 6 && !result.fields[field]) result.fields[field] = decode(item.substr(sign + 1));
  }
  return decide(result) ? std::optional(std::move(result)) : std::nullopt;
}

std::string build() {
  static constexpr std::string_view start = "tilvanego://payment/v1/start";
  std::size_t size = start.size();
  for (const auto& [name, value] : items) {
    size += name.size() + 2;
    for (const char c : value) size += tables.unreserved[byte(c)] ? 1U : 3U;
  }
  std::string out;
  out.resize(size);
  char* to = out.data();
  for (const char c : start) *to++ = c;
  char separator = '?';
  for (const auto& [name, value] : items) {
    *to++ = separator;
    separator = '&';
    for (const char c : name) *to++ = c;
    *to++ = '=';
    for (const char c : value) {
      if (tables.unreserved[byte(c)]) {
        *to++ = c;
      } else {
        *to++ = '%';
        *to++ = "0123456789ABCDEF"[byte(c) >> 4];
        *to++ = "0123456789ABCDEF"[byte(c) & 15];
      }
    }
  }
  return out;
}

}  // namespace hand
}  // namespace tilvanego::bench
