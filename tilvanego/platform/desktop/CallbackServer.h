#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <tilvanego/platform/FileDescriptor.h>
#include <tilvanego/platform/desktop/CallbackSocket.h>

namespace tilvanego::detail {

/// The reply to one callback. If it is destroyed without one, the sender sees a host that has ended. Any
/// thread may use it.
class CallbackReply {
 public:
  explicit CallbackReply(FileDescriptor connection) : connection_(std::move(connection)) {}

  /// Sends the text and closes the connection. The first call counts.
  void send(std::string_view text);

 private:
  FileDescriptor connection_;
};

/// Accepts connections and reads their URLs, on a thread of its own.
///
/// While as many are connected as the server takes, others wait in the system's queue. A sender that is slow
/// receives a sentence and is closed (`Patience`).
///
/// A forked child has no part in it: the child's copy neither accepts nor ends anything.
class CallbackServer {
 public:
  /// Called on the server's thread with the text of a URL, which may be anything of at most `maxCallbackURL`
  /// bytes. Must not throw.
  using Handler = std::function<void(std::string text, std::shared_ptr<CallbackReply> reply)>;

  struct Patience {
    /// Without a byte.
    std::chrono::milliseconds longestPause{10'000};
    /// For the whole URL.
    std::chrono::milliseconds longestURL{30'000};
    /// For the whole URL, while others wait for a connection.
    std::chrono::milliseconds longestTurn{2'000};
  };

  CallbackServer(CallbackListener listener, Handler handler)
      : CallbackServer(std::move(listener), std::move(handler), Patience()) {}
  CallbackServer(CallbackListener listener, Handler handler, Patience patience);
  CallbackServer(const CallbackServer&) = delete;
  CallbackServer& operator=(const CallbackServer&) = delete;
  /// Waits for the handler's end.
  ~CallbackServer();

 private:
  using Clock = std::chrono::steady_clock;
  struct Connection {
    FileDescriptor descriptor;
    Clock::time_point accepted;
    Clock::time_point lastByte;
    std::string text;
  };
  enum class Progress { waiting, complete, broken };

  void run();
  /// Returns false when the server ends.
  [[nodiscard]] bool waitForSomething();
  void acceptWaiting();
  /// Returns when one more connection may be accepted.
  [[nodiscard]] Clock::time_point nextAccept() const;
  void readConnections();
  /// Returns when a connection is closed if nothing more comes.
  [[nodiscard]] Clock::time_point endOf(const Connection& connection) const;
  [[nodiscard]] static Progress readFrom(Connection& connection);
  void finish(Connection connection);

  CallbackListener listener_;
  /// Becomes readable when the server ends.
  FileDescriptor end_;
  Handler handler_;
  Patience patience_;
  /// The oldest first. Used on the thread only, as is `mayAccept_`.
  std::vector<Connection> connections_;
  bool mayAccept_ = true;
  std::thread thread_;
};

}  // namespace tilvanego::detail
