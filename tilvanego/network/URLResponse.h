#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/network/HTTPHead.h>
#include <tilvanego/network/HTTPHeaders.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// What a session answers beside the body. A session over another protocol than HTTP answers this base alone.
class URLResponse {
 public:
  explicit URLResponse(std::optional<URL> url) : url_(std::move(url)) {}
  virtual ~URLResponse() = default;

  /// The URL that answered, after redirects.
  [[nodiscard]] const std::optional<URL>& url() const { return url_; }

 private:
  std::optional<URL> url_;
};

}  // namespace tilvanego

namespace tilvanego::detail {

/// A head as the server sent it, which `readHead` hasn't read yet.
struct UnreadHead {
  std::string lines;
};

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// The status line and header fields of an HTTP answer, immutable. May be used on several threads at once.
class HTTPURLResponse final : public URLResponse {
 public:
  HTTPURLResponse(std::optional<URL> url, int statusCode, HTTPHeaders headers, std::string statusLine = {})
      : URLResponse(std::move(url)),
        statusCode_(statusCode),
        head_{std::move(statusLine), std::move(headers)} {}
  /// Reads the head when it is first asked for: many answers are never asked.
  HTTPURLResponse(std::optional<URL> url, int statusCode, detail::UnreadHead head)
      : URLResponse(std::move(url)), statusCode_(statusCode), unread_(std::move(head)) {}

  [[nodiscard]] int statusCode() const { return statusCode_; }
  /// As the server sent it, such as "HTTP/1.1 404 Not Found" or "HTTP/2 200"; for people to read. Empty if
  /// the session doesn't tell.
  [[nodiscard]] const std::string& statusLine() const { return head().statusLine; }
  /// Fields that came more than once stand once, their values joined by ", ".
  [[nodiscard]] const HTTPHeaders& headers() const { return head().headers; }

 private:
  const detail::HTTPHead& head() const;

  int statusCode_;
  const std::optional<detail::UnreadHead> unread_;
  mutable std::once_flag read_;
  mutable detail::HTTPHead head_;
};

/// Responses are immutable and shared by everyone who looks at them; none where a request got no answer.
using URLResponsePointer = std::shared_ptr<const URLResponse>;

}  // namespace tilvanego
