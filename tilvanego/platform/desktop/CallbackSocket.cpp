#include <tilvanego/platform/desktop/CallbackSocket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <span>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <tilvanego/values/OneLine.h>

namespace tilvanego::detail {
namespace {

using Clock = std::chrono::steady_clock;
using Reason = HandOverFailure::Reason;

// Longer than any sentence of a host.
constexpr std::size_t maxReply = 4096;

std::string systemMessage(int code) { return std::generic_category().message(code); }

std::expected<sockaddr_un, std::string> socketAddress(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  constexpr std::size_t room = sizeof address.sun_path - 1;
  if (path.empty() || path.size() > room || path.find('\0') != path.npos) {
    return std::unexpected("A socket's path must have 1 to " + std::to_string(room) +
                           " bytes, none of them NUL; choose a shorter one.");
  }
  std::ranges::copy(path, address.sun_path);
  return address;
}

FileDescriptor openSocket() {
  return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

// Returns the system's error code, or 0.
int connectTo(const FileDescriptor& socket, const sockaddr_un& address) {
  if (!socket) return errno;
  return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0
                                                                                                   : errno;
}

// The same, but waits while the listener's queue of connections is full: EAGAIN when the time is over.
int connectUntil(const FileDescriptor& socket, const sockaddr_un& address, Clock::time_point deadline) {
  int code = connectTo(socket, address);
  if (code != EAGAIN) return code;
  // The system waits for a place only if the socket blocks.
  const int flags = ::fcntl(socket.get(), F_GETFL);
  ::fcntl(socket.get(), F_SETFL, flags & ~O_NONBLOCK);
  do {
    const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - Clock::now());
    if (left.count() <= 0) return EAGAIN;
    const timeval longest{.tv_sec = static_cast<time_t>(left.count() / 1'000'000),
                          .tv_usec = static_cast<suseconds_t>(left.count() % 1'000'000)};
    if (::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &longest, sizeof longest) != 0) return errno;
    code = connectTo(socket, address);
  } while (code == EINTR);
  ::fcntl(socket.get(), F_SETFL, flags);
  return code;
}

// Waits until the socket can be read or written. Returns false when the time is over.
bool waitFor(const FileDescriptor& socket, short events, Clock::time_point deadline) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    pollfd waiting{socket.get(), events, 0};
    const int ready = ::poll(&waiting, 1, static_cast<int>(std::min<std::int64_t>(left.count(), 60'000)));
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) return false;
  }
}

std::unexpected<HandOverFailure> failure(Reason reason, std::string message) {
  return std::unexpected(HandOverFailure{reason, std::move(message)});
}

std::unexpected<HandOverFailure> tooLate(const std::string& path) {
  return failure(Reason::refused, "The host at " + path + " didn't take the URL in time.");
}

std::unexpected<HandOverFailure> notTaken(const std::string& path) {
  return failure(
      Reason::noReply,
      "The host at " + path + " hasn't said that it took the URL: it has ended, or its handler failed.");
}

// Fails without a sentence when the other side is gone: it may have sent a reply before.
std::expected<void, HandOverFailure> send(const FileDescriptor& socket, const std::string& path,
                                          std::string_view text, Clock::time_point deadline) {
  while (!text.empty()) {
    const auto count = ::send(socket.get(), text.data(), text.size(), MSG_NOSIGNAL);
    if (count > 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      if (!waitFor(socket, POLLOUT, deadline)) return tooLate(path);
    } else if (errno != EINTR) {
      return {};
    }
  }
  static_cast<void>(::shutdown(socket.get(), SHUT_WR));
  return {};
}

std::expected<std::string, HandOverFailure> receiveReply(const FileDescriptor& socket,
                                                         const std::string& path,
                                                         Clock::time_point deadline) {
  std::string reply;
  std::array<char, 512> chunk{};
  while (reply.size() < maxReply) {
    const auto count = ::read(socket.get(), chunk.data(), std::min(chunk.size(), maxReply - reply.size()));
    if (count > 0) {
      reply.append(chunk.data(), static_cast<std::size_t>(count));
    } else if (count < 0 && errno == EAGAIN) {
      if (!waitFor(socket, POLLIN, deadline)) return tooLate(path);
    } else if (count == 0 || errno != EINTR) {
      break;
    }
  }
  return reply;
}

// Returns why there can be no new socket at `path`, or nothing.
std::optional<std::string> removeSocket(const std::string& path, const sockaddr_un& address,
                                        ReplacedSockets replaced) {
  struct stat there{};
  if (::lstat(path.c_str(), &there) != 0) return std::nullopt;
  if (!S_ISSOCK(there.st_mode)) return path + " is there already and is no socket; choose another path.";
  const int code = replaced == ReplacedSockets::any ? ECONNREFUSED : connectTo(openSocket(), address);
  if (code == 0 || code == EAGAIN) {
    return "Another host listens at " + path + "; end it, or choose another path.";
  }
  if (code != ECONNREFUSED) return path + " can't be replaced: " + systemMessage(code) + ".";
  if (::unlink(path.c_str()) != 0) return path + " can't be replaced: " + systemMessage(errno) + ".";
  return std::nullopt;
}

}  // namespace

bool isOfThisUser(const FileDescriptor& socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return ::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

std::expected<void, HandOverFailure> handOverCallback(const std::string& path, std::string_view url,
                                                      std::chrono::milliseconds longestWait) {
  const auto address = socketAddress(path);
  if (!address) return failure(Reason::refused, address.error());
  if (url.size() > maxCallbackURL) {
    return failure(Reason::refused, "The URL is longer than " + std::to_string(maxCallbackURL) + " bytes.");
  }
  const auto deadline = Clock::now() + longestWait;
  const FileDescriptor socket = openSocket();
  const int code = connectUntil(socket, *address, deadline);
  if (code == EAGAIN) return tooLate(path);
  if (code != 0) {
    return failure(Reason::noListener, "No host listens at " + path + " (" + systemMessage(code) + ").");
  }
  if (!isOfThisUser(socket)) {
    return failure(Reason::refused, "The host at " + path + " belongs to another user.");
  }
  if (auto sent = send(socket, path, url, deadline); !sent) return sent;
  auto reply = receiveReply(socket, path, deadline);
  if (!reply) return std::unexpected(std::move(reply).error());
  if (*reply == callbackTaken) return {};
  if (reply->empty()) return notTaken(path);
  return failure(Reason::refused, inOneLine(*reply));
}

CallbackListener::CallbackListener(FileDescriptor socket, const std::string& path)
    : socket_(std::move(socket)), owner_(getpid()) {
  std::error_code failed;
  path_ = std::filesystem::absolute(path, failed);
  ::lstat(path_.c_str(), &file_);
}

CallbackListener::~CallbackListener() {
  if (!socket_ || !isOfThisProcess()) return;
  struct stat there{};
  const bool isOurs = ::lstat(path_.c_str(), &there) == 0 && S_ISSOCK(there.st_mode) &&
                      there.st_ino == file_.st_ino && there.st_dev == file_.st_dev;
  if (isOurs) ::unlink(path_.c_str());
}

bool CallbackListener::isOfThisProcess() const { return owner_ == getpid(); }

std::expected<CallbackListener, std::string> listenForCallbacks(const std::string& path,
                                                                ReplacedSockets replaced) {
  const auto address = socketAddress(path);
  if (!address) return std::unexpected(address.error());
  if (auto obstacle = removeSocket(path, *address, replaced)) return std::unexpected(*std::move(obstacle));
  FileDescriptor socket = openSocket();
  const auto fail = [&path] {
    return std::unexpected("Can't listen at " + path + ": " + systemMessage(errno) + ".");
  };
  if (!socket || ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) != 0) {
    return fail();
  }
  CallbackListener listener(std::move(socket), path);
  // Nobody can connect before `listen`.
  if (::chmod(path.c_str(), S_IRUSR | S_IWUSR) != 0 || ::listen(listener.get(), SOMAXCONN) != 0)
    return fail();
  return listener;
}

}  // namespace tilvanego::detail
