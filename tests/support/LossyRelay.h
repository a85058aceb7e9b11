#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/socket.h>

#include "tests/support/LoopbackSocket.h"

namespace tilvanego::test {

/// What becomes of a connection after so many bytes of one side: the client's, or the server's.
struct Loss {
  enum class Kind { none, close, reset, stall } kind = Kind::none;
  enum Side : std::size_t { client, server } side = client;
  std::size_t after = 0;
};

/// A way to a server of 127.0.0.1 on which a connection may be lost. It has a thread and a port of its own.
class LossyRelay {
 public:
  explicit LossyRelay(std::uint16_t server) : server_(server), thread_([this] { run(); }) {}
  LossyRelay(const LossyRelay&) = delete;
  LossyRelay& operator=(const LossyRelay&) = delete;
  ~LossyRelay() {
    shutdown(listener_.get(), SHUT_RDWR);
    thread_.join();
  }

  [[nodiscard]] std::uint16_t port() const { return portOf(listener_); }
  /// Of the next connection alone.
  void loseNext(Loss loss) {
    const std::scoped_lock lock(mutex_);
    next_ = loss;
  }
  /// How many bytes of the side the last connection has passed on.
  [[nodiscard]] std::size_t passed(Loss::Side side) {
    const std::scoped_lock lock(mutex_);
    return connections_.back().passed[side];
  }

 private:
  struct Connection {
    std::array<FileDescriptor, 2> ends;
    Loss loss;
    std::array<std::size_t, 2> passed{};
    bool isStalled = false;
  };

  void run() {
    for (;;) {
      std::vector<pollfd> waits{{listener_.get(), POLLIN, 0}};
      for (const auto& connection : connections_) {
        for (const auto& end : connection.ends) waits.push_back({end.get(), POLLIN, 0});
      }
      poll(waits.data(), waits.size(), -1);
      const std::scoped_lock lock(mutex_);
      auto wait = waits.begin() + 1;
      std::erase_if(connections_, [&](Connection& connection) {
        const bool ofClient = (wait++)->revents != 0, ofServer = (wait++)->revents != 0;
        return (ofClient && !passOn(connection, Loss::client)) ||
               (ofServer && !passOn(connection, Loss::server));
      });
      if (waits.front().revents == 0) continue;
      FileDescriptor accepted(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
      if (!accepted) return;
      connections_.push_back({{std::move(accepted), connectedTo(server_)}, std::exchange(next_, {})});
    }
  }

  // False when the connection is over.
  static bool passOn(Connection& connection, Loss::Side side) {
    const auto& [kind, lossy, after] = connection.loss;
    std::array<char, 65536> room;
    const auto count = recv(connection.ends[side].get(), room.data(), room.size(), 0);
    if (count <= 0) return false;
    if (connection.isStalled) return true;
    auto& passed = connection.passed[side];
    auto size = static_cast<std::size_t>(count);
    const bool isLost = kind != Loss::Kind::none && side == lossy && passed + size >= after;
    if (isLost) size = after - passed;
    passed += size;
    if (size > 0) send(connection.ends[1U - side].get(), room.data(), size, MSG_NOSIGNAL);
    if (!isLost) return true;
    const linger hard{.l_onoff = 1, .l_linger = 0};
    if (kind == Loss::Kind::reset) {
      setsockopt(connection.ends[Loss::client].get(), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    }
    connection.isStalled = true;
    return kind == Loss::Kind::stall;
  }

  const std::uint16_t server_;
  const FileDescriptor listener_ = loopbackListener(SOMAXCONN);
  std::mutex mutex_;
  Loss next_;
  std::list<Connection> connections_;
  std::thread thread_;
};

}  // namespace tilvanego::test
