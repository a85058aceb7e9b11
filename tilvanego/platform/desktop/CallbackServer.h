#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <sys/stat.h>

#include <tilvanego/platform/FileDescriptor.h>

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
/// A sender that stalls is closed after `longestPause` without a byte. While as many are connected as the
/// server takes, others wait in the system's queue.
class CallbackServer {
 public:
  /// Called on the server's thread with the text of a URL, which may be anything of at most `maxCallbackURL`
  /// bytes. Must not throw.
  using Handler = std::function<void(std::string text, std::shared_ptr<CallbackReply> reply)>;

  static constexpr std::chrono::seconds longestPause{10};

  /// `listener` listens at `path`.
  CallbackServer(std::string path, FileDescriptor listener, Handler handler);
  CallbackServer(const CallbackServer&) = delete;
  CallbackServer& operator=(const CallbackServer&) = delete;
  /// Waits for the handler's end. Removes the socket's file, unless another file is now at its path.
  ~CallbackServer();

 private:
  using Clock = std::chrono::steady_clock;
  struct Connection {
    FileDescriptor descriptor;
    Clock::time_point lastByte;
    std::string text;
  };
  enum class Progress { waiting, complete, broken };

  void run();
  /// Returns false when the server ends.
  [[nodiscard]] bool waitForSomething();
  void acceptWaiting();
  void readConnections();
  [[nodiscard]] static Progress readFrom(Connection& connection);
  void finish(Connection connection);

  std::string path_;
  FileDescriptor listener_;
  struct stat file_{};
  /// Becomes readable when the server ends.
  FileDescriptor end_;
  Handler handler_;
  /// Used on the thread only, as is `mayAccept_`.
  std::vector<Connection> connections_;
  bool mayAccept_ = true;
  std::thread thread_;
};

}  // namespace tilvanego::detail
