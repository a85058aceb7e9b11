#pragma once

#include <tilvanego/http_client/HTTPHeaders.h>
#include <tilvanego/values/URL.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tilvanego {

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

/// The status line and header fields of an HTTP answer, immutable.
class HTTPURLResponse final : public URLResponse {
 public:
  HTTPURLResponse(std::optional<URL> url, int statusCode, HTTPHeaders headers, std::string statusLine = {})
      : URLResponse(std::move(url)),
        statusCode_(statusCode),
        headers_(std::move(headers)),
        statusLine_(std::move(statusLine)) {}

  [[nodiscard]] int statusCode() const { return statusCode_; }
  /// As the server sent it, such as "HTTP/1.1 404 Not Found" or "HTTP/2 200"; for people to read. Empty if
  /// the session doesn't tell.
  [[nodiscard]] const std::string& statusLine() const { return statusLine_; }
  /// Fields that came more than once stand once, their values joined by ", ".
  [[nodiscard]] const HTTPHeaders& headers() const { return headers_; }

 private:
  int statusCode_;
  HTTPHeaders headers_;
  std::string statusLine_;
};

/// Responses are immutable and shared by everyone who looks at them; none where a request got no answer.
using URLResponsePointer = std::shared_ptr<const URLResponse>;

}  // namespace tilvanego
