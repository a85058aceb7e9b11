#pragma once

#include <chrono>
#include <cstddef>
#include <expected>
#include <filesystem>
#include <string>
#include <string_view>

#include <sys/stat.h>
#include <sys/types.h>

#include <tilvanego/platform/FileDescriptor.h>
#include <tilvanego/platform/desktop/CallbackReceiver.h>

/// The Unix socket on which a running host takes callback URLs, as its sender and its listener see it.
///
/// A connection carries one URL: its text, up to the end of the sender's side. The host replies "ok" once it
/// has handled the URL, or with a sentence that says what is wrong, and closes. A connection that is closed
/// without a reply means that the host has ended, or can't say whether it has handled the URL.
namespace tilvanego::detail {

/// The maximum length of a callback URL, in bytes.
inline constexpr std::size_t maxCallbackURL = std::size_t{16} << 20U;
inline constexpr std::string_view callbackTaken = "ok";

using HandOverFailure = CallbackReceiver::HandOverFailure;

/// Sends a URL to the host that listens at `path`, and blocks until it has replied, or until `longestWait` is
/// over. The host must be a process of the same user, by what the kernel says of it.
[[nodiscard]] std::expected<void, HandOverFailure> handOverCallback(const std::string& path,
                                                                    std::string_view url,
                                                                    std::chrono::milliseconds longestWait);

/// A socket that listens at a path. Its end removes the file, unless another one is now at the path. A forked
/// child's copy removes nothing.
class CallbackListener {
 public:
  /// `socket` is bound to `path`. A path that isn't absolute counts from the directory of this moment.
  CallbackListener(FileDescriptor socket, const std::string& path);
  CallbackListener(CallbackListener&&) = default;
  CallbackListener& operator=(CallbackListener&&) = delete;
  ~CallbackListener();

  [[nodiscard]] int get() const { return socket_.get(); }
  /// False in a forked child.
  [[nodiscard]] bool isOfThisProcess() const;

 private:
  /// Bound, it keeps the file's number from being given to another file.
  FileDescriptor socket_;
  std::filesystem::path path_;
  struct stat file_{};
  pid_t owner_;
};

/// Which sockets that are at the path already are replaced. `any` is for who holds a claim of the path: a
/// process that ended may have left a child behind, which has a copy of the listening socket.
enum class ReplacedSockets { withoutListener, any };

/// Listens at `path`, without blocking; only the user can connect. Fails, with a sentence for the user, if
/// anything is at `path` that isn't to be replaced, and keeps that.
[[nodiscard]] std::expected<CallbackListener, std::string> listenForCallbacks(
    const std::string& path, ReplacedSockets replaced = ReplacedSockets::withoutListener);

/// Returns true if the process at the other end of a Unix socket belongs to this process's user.
[[nodiscard]] bool isOfThisUser(const FileDescriptor& socket);

}  // namespace tilvanego::detail
