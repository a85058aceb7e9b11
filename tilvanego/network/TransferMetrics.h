#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <tilvanego/network/Failure.h>
#include <tilvanego/network/URLRequest.h>

namespace [[gnu::visibility("default")]] tilvanego {

class URLResponse;

/// What a task of a `URLSession` took, from the moment when the session begins to send it. Redirects,
/// challenges and repetitions are included: their times and bytes are added up.
struct TransferMetrics {
  using Duration = std::chrono::microseconds;

  /// Before a kept connection was free for the request. On a new connection it is part of `nameLookup`.
  Duration waiting{};
  Duration nameLookup{};
  /// The connection of TCP; 0 on kept connections.
  Duration connect{};
  /// The handshake of TLS; 0 without one.
  Duration secureConnect{};
  /// From the start to the first byte of the last response; 0 without a response.
  Duration firstByte{};
  /// From the start to the end.
  Duration total{};
  /// Heads and bodies as they were sent, without TLS and the frames of HTTP/2.
  std::int64_t sentBytes = 0;
  /// Heads and bodies as they were received, before decompression.
  std::int64_t receivedBytes = 0;
  /// Whether the last request was sent on a kept connection.
  bool isConnectionReused = false;
  /// The version of the last response: "1.0", "1.1" or "2"; empty without one.
  std::string protocolVersion;
  /// How many requests were prepared: one, and one for each redirect, answered challenge and repetition.
  int tries = 0;
  int redirects = 0;
};

/// What has become of a task.
struct TransferReport {
  /// The task's request; redirects change nothing of it.
  const URLRequest& request;
  /// The response; null if there was none.
  const std::shared_ptr<const URLResponse>& response;
  const std::optional<Failure>& error;
  const TransferMetrics& metrics;

  /// The attributes of a client's span in OpenTelemetry's semantic conventions for HTTP:
  /// "http.request.method", "server.address", "server.port", "url.scheme", "http.response.status_code",
  /// "network.protocol.version" and, where they apply, "error.type" and "http.request.resend_count". Numbers
  /// are decimal. No path, no query and no header field are among them, since they may hold secrets.
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> attributes() const;
};

/// Is told of each task that a session sends: the hooks of tracing and of statistics. All operations may be
/// called on several threads at once, on the thread that sends, without a lock held.
///
/// May throw: the exception is dropped after one line on standard error.
class TransferObserver {
 public:
  virtual ~TransferObserver() = default;

  /// Called before the first byte of a task is sent. Returns an object of the host, such as a span, that is
  /// kept for `didEnd`; it may be null.
  [[nodiscard]] virtual std::shared_ptr<void> willStart(const URLRequest& /*request*/) { return nullptr; }
  /// Called once for each `willStart`, before the task's completion, but not once the process exits.
  virtual void didEnd(const std::shared_ptr<void>& /*span*/, const TransferReport& /*report*/) {}
};

}  // namespace tilvanego
