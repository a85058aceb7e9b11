#pragma once

#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "Descriptor.h"

/// How a callback URL reaches a running host: over a Unix socket that only its user can connect to. Each
/// connection carries one URL up to the end of the writer's side, and gets one reply: "ok", or what was
/// wrong.
namespace tilvanego::program {

/// Bytes of the longest URL that is taken.
inline constexpr std::size_t longestCallbackURL = std::size_t{16} << 20U;
inline constexpr std::string_view callbackTaken = "ok";

/// The address of a socket; fails for a path that is empty or too long for one.
[[nodiscard]] std::expected<sockaddr_un, std::string> socketAddress(const std::string& path);

/// A connection to a host that listens at `path`; fails with a sentence for the user.
[[nodiscard]] std::expected<Descriptor, std::string> connectToHost(const std::string& path);

/// The host's end. It is never blocked by a connection that is slow.
class CallbackSocket {
 public:
  /// Takes a received URL text; fails with a sentence for its sender.
  using Handler = std::function<std::expected<void, std::string>(const std::string& text)>;

  /// Listens at `path`, readable and writable for the user alone. A socket that nobody listens on any more is
  /// replaced; everything else at `path` is left alone and gives an error, a sentence for the user.
  [[nodiscard]] static std::expected<std::unique_ptr<CallbackSocket>, std::string> listenAt(
      const std::string& path);

  /// Removes the socket's file, if it still is this one's.
  ~CallbackSocket();
  CallbackSocket(const CallbackSocket&) = delete;
  CallbackSocket& operator=(const CallbackSocket&) = delete;

  /// Adds what `serve` waits for.
  void addTo(std::vector<pollfd>& waiting) const;
  /// Accepts and reads what there is, and calls `handler` for each URL that is complete.
  void serve(const Handler& handler);

 private:
  struct Connection {
    Descriptor descriptor;
    std::string text;
  };
  enum class Progress { waiting, complete, broken };

  CallbackSocket(std::string path, Descriptor listener);

  void acceptWaiting();
  [[nodiscard]] static Progress readFrom(Connection& connection);
  static void reply(const Connection& connection, std::string_view text);

  std::string path_;
  Descriptor listener_;
  struct stat file_{};
  std::vector<Connection> connections_;
};

}  // namespace tilvanego::program
