#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Brings callback URLs to the host that runs already. On a desktop a callback starts the host's program
/// again, with the URL as an argument: that process hands the URL over and ends.
///
/// ```cpp
/// #include <tilvanego/TilvaneGo.h>
///
/// int runTill(int argc, char** argv) {
///   RunLoop& loop = RunLoop::main();
///   const auto callbacks = CallbackReceiver::claim("com.example.till", CallbackReceiver::urlIn(argc, argv));
///   if (!callbacks) return 1;            // callbacks.error() says why, in a sentence.
///   if (*callbacks == nullptr) return 0; // The till that runs already has handled the URL.
///   (*callbacks)->receive(loop, [](const URL& url) { TilvaneGo::shared().handleCallback(url); });
///   loop.runPending();                   // The till's own loop.
///   return 0;
/// }
/// ```
///
/// The first process of the user that claims a name receives; the kernel gives the name free when the process
/// ends, in whatever way. A URL counts as handed over once the handler has returned. So none is lost if the
/// receiving process ends meanwhile: the other one then claims the name and has the URL itself. With a
/// `PendingStore`, a URL may come twice in that case, which ends nothing twice.
///
/// The socket lies in `$XDG_RUNTIME_DIR/tilvanego`, or where the `PasteboardStore` lies. Only processes of
/// the same user, by what the kernel says of them, are listened to. docs/desktop.md has its protocol.
///
/// A forked child has no part in it: its copy of a receiver receives nothing, and the copy's end changes
/// nothing for the parent. When the parent ends, its name is free, also while the child runs. A host that
/// makes itself a daemon claims afterwards. But a path that `listenAt` was given stays taken while a child
/// runs that was forked meanwhile and has not called `exec`.
class CallbackReceiver {
 public:
  /// Why a URL was not handed over.
  struct HandOverFailure {
    enum class Reason {
      /// Nobody listens.
      noListener,
      /// The host closed the connection without a reply: it has ended, or its handler has thrown.
      noReply,
      /// The host belongs to another user, refused the URL, or took too long; or the system failed.
      refused
    };
    Reason reason{};
    /// A sentence for the user, in one line. What the host wrote has escapes for control characters.
    std::string message;
  };

  /// Called on the main thread. Its exception leaves the main queue's call that ran it; the sender then tries
  /// again.
  using Handler = std::function<void(const URL& url)>;

  /// Claims `name`, one plain name such as "com.example.till". Returns the receiver if no process has it,
  /// with `url` as the first to be received. Returns null once the process that has it has taken `url`; or at
  /// once, without a `url`. Blocks until then, for 30 seconds at most. Any thread may call it.
  ///
  /// Fails with a sentence: the directory can't be used, the other process refuses the URL, or doesn't take
  /// it in time.
  [[nodiscard]] static std::expected<std::unique_ptr<CallbackReceiver>, std::string> claim(
      const std::string& name, std::optional<URL> url);

  /// Listens at the path of a socket, for a host that chooses one of its own; not in the directory of the
  /// names. Replaces a socket without a listener. Fails with a sentence if anything else is at the path.
  [[nodiscard]] static std::expected<std::unique_ptr<CallbackReceiver>, std::string> listenAt(
      const std::string& socket);

  /// Hands a URL to the host that listens at the path of a socket. Blocks until it has handled the URL, for
  /// 30 seconds at most. Any thread may call it.
  [[nodiscard]] static std::expected<void, HandOverFailure> handOver(const std::string& socket,
                                                                     const URL& url);

  /// The first of a program's arguments that is a URL with a scheme; nothing if there is none.
  [[nodiscard]] static std::optional<URL> urlIn(int argc, const char* const* argv);

  CallbackReceiver(const CallbackReceiver&) = delete;
  CallbackReceiver& operator=(const CallbackReceiver&) = delete;
  /// Gives the name free. A URL whose handler has not run yet is not taken: its sender tries again.
  ~CallbackReceiver();

  /// From now on calls `handler` for each URL, in a turn of `queue`. Before, senders wait. Called once, by
  /// the process that claimed; another call ends the process.
  void receive(const MainQueue& queue, Handler handler);

 private:
  struct Claimed;

  explicit CallbackReceiver(std::unique_ptr<Claimed> claimed);

  std::unique_ptr<Claimed> claimed_;
};

}  // namespace tilvanego
