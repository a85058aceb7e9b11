#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include <curl/curl.h>

namespace tilvanego::detail {

/// The sockets of a session's connections. libcurl opens and closes them through it. Must outlive libcurl's
/// connections. Used by one thread at a time.
class Sockets {
 public:
  Sockets() = default;
  Sockets(const Sockets&) = delete;
  Sockets& operator=(const Sockets&) = delete;

  /// Sets the handle's functions that open and close sockets. Programs that the host starts don't inherit
  /// them.
  void serve(CURL* handle);

  /// Whether the peer of this connection has closed it, or has sent bytes that weren't read. False for an
  /// unknown connection.
  [[nodiscard]] bool hasUnread(int localPort, int remotePort);

  /// How long ago this connection received its last byte. No value for an unknown connection, or on a system
  /// that doesn't tell.
  [[nodiscard]] std::optional<std::chrono::milliseconds> sinceLastByte(int localPort, int remotePort);

 private:
  struct Entry {
    curl_socket_t socket;
    /// 0 until the connection stands: a socket that is connecting has a local port, but no remote one yet.
    int localPort = 0;
    int remotePort = 0;
  };

  [[nodiscard]] const Entry* find(int localPort, int remotePort);

  static curl_socket_t open(void* self, curlsocktype, curl_sockaddr* address) noexcept;
  static int close(void* self, curl_socket_t socket) noexcept;

  std::vector<Entry> entries_;
};

}  // namespace tilvanego::detail
