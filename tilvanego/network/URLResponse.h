#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/network/HTTPHead.h>
#include <tilvanego/network/HTTPHeaders.h>
#include <tilvanego/values/Lifetime.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

struct TransferMetrics;

/// A response without its body. A session of another protocol than HTTP returns objects of this base class.
class URLResponse {
 public:
  explicit URLResponse(std::optional<URL> url) : url_(std::move(url)) {}
  virtual ~URLResponse() = default;

  /// The URL that sent the response, after redirects.
  [[nodiscard]] const std::optional<URL>& url() const TILVANEGO_LIFETIMEBOUND { return url_; }

 private:
  std::optional<URL> url_;
};

/// The status line and header fields of an HTTP response. Immutable; several threads may use one object.
class HTTPURLResponse final : public URLResponse {
 public:
  HTTPURLResponse(std::optional<URL> url, int statusCode, HTTPHeaders headers, std::string statusLine = {})
      : URLResponse(std::move(url)),
        statusCode_(statusCode),
        isRead_(true),
        head_{std::move(statusLine), std::move(headers)} {}
  /// Parses the head on the first access to it: of many responses nobody reads the head.
  HTTPURLResponse(std::optional<URL> url, int statusCode, detail::UnreadHead head,
                  std::shared_ptr<const TransferMetrics> metrics = nullptr)
      : URLResponse(std::move(url)),
        statusCode_(statusCode),
        metrics_(std::move(metrics)),
        unread_(std::move(head)),
        isRead_(false) {}

  [[nodiscard]] int statusCode() const { return statusCode_; }
  /// The status line as the server sent it, such as "HTTP/1.1 404 Not Found" or "HTTP/2 200", for display.
  /// Empty if the session doesn't provide it.
  [[nodiscard]] const std::string& statusLine() const TILVANEGO_LIFETIMEBOUND { return head().statusLine; }
  /// The header fields. The values of a repeated field are joined by ", ".
  [[nodiscard]] const HTTPHeaders& headers() const TILVANEGO_LIFETIMEBOUND { return head().headers; }

  /// What the request took; null unless the session has an observer.
  [[nodiscard]] const std::shared_ptr<const TransferMetrics>& metrics() const TILVANEGO_LIFETIMEBOUND {
    return metrics_;
  }

 private:
  [[nodiscard]] const detail::HTTPHead& head() const;

  int statusCode_;
  std::shared_ptr<const TransferMetrics> metrics_;
  const std::optional<detail::UnreadHead> unread_;
  mutable std::mutex reading_;
  /// False until `head_` is read from `unread_`.
  mutable std::atomic<bool> isRead_;
  mutable detail::HTTPHead head_;
};

/// Responses are immutable and shared. Null where a request got no response.
using URLResponsePointer = std::shared_ptr<const URLResponse>;

}  // namespace tilvanego
