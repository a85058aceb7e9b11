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

/// Passes callback URLs to a running host over a Unix socket that only the user can connect to. Each
/// connection carries one URL: its text ends where the sender closes its side. The host replies "ok", or says
/// what is wrong.
namespace tilvanego::program {

/// The maximum length of a URL, in bytes.
inline constexpr std::size_t longestCallbackURL = std::size_t{16} << 20U;
inline constexpr std::string_view callbackTaken = "ok";

/// Returns the address of a socket. Fails if the path is empty or too long for an address.
[[nodiscard]] std::expected<sockaddr_un, std::string> socketAddress(const std::string& path);

/// Connects to a host that listens at `path`. Fails with a sentence for the user.
[[nodiscard]] std::expected<Descriptor, std::string> connectToHost(const std::string& path);

/// The socket of the host. A slow connection doesn't block it.
class CallbackSocket {
 public:
  /// Called with the text of a received URL. Fails with a sentence for the sender.
  using Handler = std::function<std::expected<void, std::string>(const std::string& text)>;

  /// Listens at `path`; only the user can access the socket. Replaces a socket without a listener. Fails,
  /// with a sentence for the user, if anything else is at `path`, and keeps that.
  [[nodiscard]] static std::expected<std::unique_ptr<CallbackSocket>, std::string> listenAt(
      const std::string& path);

  /// Removes the socket's file, unless another file is now at its path.
  ~CallbackSocket();
  CallbackSocket(const CallbackSocket&) = delete;
  CallbackSocket& operator=(const CallbackSocket&) = delete;

  /// Adds the descriptors that `serve` waits for.
  void addTo(std::vector<pollfd>& waiting) const;
  /// Accepts connections and reads the available bytes. Calls `handler` for each complete URL.
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
