#include "tests/support/HTTPMessages.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include <zlib.h>

#include <tilvanego/values/ASCII.h>

namespace tilvanego::test {
namespace {

constexpr std::string_view lineEnd = "\r\n";
constexpr std::size_t promised = 1000;
constexpr std::size_t kept = 400;

std::optional<std::size_t> number(std::string_view text, int base) {
  std::size_t value = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (failure != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

bool saysLength(const HeaderFields& headers) {
  return std::ranges::any_of(headers, [](const auto& field) {
    return detail::equalIgnoringASCIICase(field.first, "Content-Length") ||
           detail::equalIgnoringASCIICase(field.first, "Transfer-Encoding");
  });
}

std::string promisedHead() { return headOf(200, {{"Content-Length", std::to_string(promised)}}); }
std::string promisedStart() { return promisedHead() + std::string(kept, 'x'); }

}  // namespace

std::optional<std::string> ReceivedRequest::header(std::string_view name) const {
  for (const auto& [key, value] : headers) {
    if (detail::equalIgnoringASCIICase(key, name)) return value;
  }
  return std::nullopt;
}

ServerResponse sent(std::string bytes) { return ServerResponse{{ServerResponse::Send{std::move(bytes)}}}; }

std::string headOf(int status, const HeaderFields& headers) {
  std::string head = "HTTP/1.1 " + std::to_string(status) + " Told\r\n";
  for (const auto& [name, value] : headers) head.append(name).append(": ").append(value).append(lineEnd);
  return head.append(lineEnd);
}

ServerResponse responseToHead(int status, std::string_view body, HeaderFields headers) {
  if (!saysLength(headers) && status != 204 && status != 304) {
    headers.emplace_back("Content-Length", std::to_string(body.size()));
  }
  return sent(headOf(status, headers));
}

ServerResponse response(int status, std::string_view body, HeaderFields headers) {
  ServerResponse result = responseToHead(status, body, std::move(headers));
  std::get<ServerResponse::Send>(result.steps.front()).bytes += body;
  return result;
}

ServerResponse chunkedResponse(int status, std::string_view body, std::size_t chunkSize,
                               HeaderFields headers) {
  headers.emplace_back("Transfer-Encoding", "chunked");
  std::string bytes = headOf(status, headers);
  while (!body.empty()) {
    const auto chunk = body.substr(0, chunkSize);
    body.remove_prefix(chunk.size());
    char size[2 * sizeof(std::size_t)];
    const auto end = std::to_chars(size, size + sizeof size, chunk.size(), 16).ptr;
    bytes.append(size, end).append(lineEnd).append(chunk).append(lineEnd);
  }
  return sent(bytes.append("0\r\n\r\n"));
}

ServerResponse redirect(std::string_view location, int status) {
  return response(status, {}, {{"Location", std::string(location)}});
}

std::string compressed(std::string_view plain, int form) {
  z_stream stream{};
  deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, form, 9, Z_DEFAULT_STRATEGY);
  std::string result(deflateBound(&stream, plain.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(plain.data()));
  stream.avail_in = static_cast<uInt>(plain.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data());
  stream.avail_out = static_cast<uInt>(result.size());
  deflate(&stream, Z_FINISH);
  result.resize(stream.total_out);
  deflateEnd(&stream);
  return result;
}

ServerResponse silence() { return ServerResponse{{ServerResponse::Hold{}}}; }
ServerResponse silenceInHead() { return sent("HTTP/1.1 200 To").then(ServerResponse::Hold{}); }
ServerResponse silenceInBody() { return sent(promisedStart()).then(ServerResponse::Hold{}); }
ServerResponse closedBeforeHead() { return ServerResponse{{ServerResponse::Close{}}}; }
ServerResponse closedInHead() {
  return sent("HTTP/1.1 200 Told\r\nContent-Le").then(ServerResponse::Close{});
}
ServerResponse closedInBody() { return sent(promisedStart()).then(ServerResponse::Close{}); }
ServerResponse resetBeforeHead() { return ServerResponse{{ServerResponse::Reset{}}}; }
ServerResponse resetInHead() { return sent("HTTP/1.1 200 Told\r\nContent-Le").then(ServerResponse::Reset{}); }
ServerResponse resetInBody() { return sent(promisedStart()).then(ServerResponse::Reset{}); }

ServerResponse closedInChunks() {
  return sent(headOf(200, {{"Transfer-Encoding", "chunked"}}) + "5\r\nhello\r\n20\r\nshort")
      .then(ServerResponse::Close{});
}

ServerResponse brokenChunkSize() {
  return sent(headOf(200, {{"Transfer-Encoding", "chunked"}}) + "5\r\nhello\r\nzz\r\nworld\r\n0\r\n\r\n");
}

ServerResponse notHTTP() { return sent("SSH-2.0-surprise\r\n\r\n").then(ServerResponse::Close{}); }

ServerResponse oversizedHead(std::size_t size) {
  HeaderFields headers;
  for (std::size_t have = 0; have < size; have += 1000) {
    headers.emplace_back("X-Filler-" + std::to_string(have), std::string(1000, 'x'));
  }
  return response(200, "body", std::move(headers));
}

ServerResponse dripped(int status, std::string_view body) {
  ServerResponse result = response(status, body);
  std::get<ServerResponse::Send>(result.steps.front()).pieceSize = 1;
  return result;
}

bool RequestReader::readHead() {
  if (headSize_ != 0) return true;
  const auto end = buffer_.find("\r\n\r\n");
  if (end == std::string::npos) return false;

  head_ = {};
  std::string_view lines(buffer_.data(), end);
  const auto takeLine = [&] {
    const auto line = lines.substr(0, lines.find(lineEnd));
    lines.remove_prefix(std::min(line.size() + lineEnd.size(), lines.size()));
    return line;
  };
  const auto requestLine = takeLine();
  const auto firstBlank = requestLine.find(' ');
  const auto lastBlank = requestLine.rfind(' ');
  broken_ = firstBlank == lastBlank || !requestLine.substr(lastBlank + 1).starts_with("HTTP/1.");
  if (broken_) return false;
  head_.method = requestLine.substr(0, firstBlank);
  head_.target = requestLine.substr(firstBlank + 1, lastBlank - firstBlank - 1);

  while (!lines.empty()) {
    const auto line = takeLine();
    const auto colon = line.find(':');
    broken_ = colon == std::string_view::npos;
    if (broken_) return false;
    const auto value = line.substr(std::min(line.find_first_not_of(" \t", colon + 1), line.size()));
    head_.headers.emplace_back(line.substr(0, colon), value.substr(0, value.find_last_not_of(" \t") + 1));
  }
  headSize_ = end + 4;
  head_.raw = buffer_.substr(0, headSize_);
  return true;
}

std::optional<ReceivedRequest> RequestReader::takeHead() {
  if (headTaken_ || !readHead()) return std::nullopt;
  headTaken_ = true;
  return head_;
}

// Gives where the body ends in the buffer, once it is all there.
std::optional<std::size_t> RequestReader::readChunks(std::string& body) {
  for (std::size_t position = headSize_;;) {
    const auto sizeEnd = buffer_.find(lineEnd, position);
    if (sizeEnd == std::string::npos) return std::nullopt;
    const auto size = number(std::string_view(buffer_).substr(position, sizeEnd - position), 16);
    broken_ = !size;
    if (broken_) return std::nullopt;
    const auto start = sizeEnd + lineEnd.size();
    if (buffer_.size() < start + *size + lineEnd.size()) return std::nullopt;
    body.append(buffer_, start, *size);
    position = start + *size + lineEnd.size();
    if (*size == 0) return position;
  }
}

std::optional<ReceivedRequest> RequestReader::takeRequest() {
  if (!readHead()) return std::nullopt;
  std::string body;
  std::size_t end = headSize_;
  if (head_.header("Transfer-Encoding")) {
    const auto chunksEnd = readChunks(body);
    if (!chunksEnd) return std::nullopt;
    end = *chunksEnd;
  } else if (const auto length = head_.header("Content-Length")) {
    const auto size = number(*length, 10);
    broken_ = !size;
    if (broken_ || buffer_.size() - headSize_ < *size) return std::nullopt;
    end += *size;
    body = buffer_.substr(headSize_, *size);
  }
  auto request = std::move(head_);
  request.body = std::move(body);
  request.raw = buffer_.substr(0, end);
  buffer_.erase(0, end);
  headSize_ = 0;
  headTaken_ = false;
  return request;
}

}  // namespace tilvanego::test
