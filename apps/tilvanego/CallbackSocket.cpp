#include "CallbackSocket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <system_error>

#include <fcntl.h>
#include <sys/socket.h>

namespace tilvanego::program {
namespace {

/// Connections beyond these wait in the system's queue.
constexpr std::size_t maxConnections = 16;

std::string systemMessage(int code) { return std::generic_category().message(code); }

int connectTo(const Descriptor& socket, const sockaddr_un& address) {
  if (socket.get() < 0) return errno;
  return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0
                                                                                                   : errno;
}

Descriptor openSocket(int flags = 0) {
  return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

/// Removes the file at `path` if it is a socket without a listener. Returns why no new socket can be created
/// there, or nothing.
std::optional<std::string> removeStaleSocket(const std::string& path, const sockaddr_un& address) {
  struct stat there{};
  if (::lstat(path.c_str(), &there) != 0) return std::nullopt;
  if (!S_ISSOCK(there.st_mode)) return path + " is there already and is no socket; choose another path.";
  const int code = connectTo(openSocket(), address);
  if (code == 0) return "Another host listens at " + path + "; end it, or choose another path.";
  if (code != ECONNREFUSED) return path + " can't be replaced: " + systemMessage(code) + ".";
  if (::unlink(path.c_str()) != 0) return path + " can't be replaced: " + systemMessage(errno) + ".";
  return std::nullopt;
}

/// With this file creation mask, only the user can access the new file at any time.
int bindPrivately(const Descriptor& socket, const sockaddr_un& address) {
  const mode_t before = ::umask(S_IXUSR | S_IRWXG | S_IRWXO);
  const int code =
      ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
  ::umask(before);
  return code;
}

}  // namespace

std::expected<sockaddr_un, std::string> socketAddress(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  constexpr std::size_t room = sizeof address.sun_path - 1;
  if (path.empty() || path.size() > room) {
    return std::unexpected("A socket's path must have 1 to " + std::to_string(room) +
                           " bytes; choose a shorter one.");
  }
  std::ranges::copy(path, address.sun_path);
  return address;
}

std::expected<Descriptor, std::string> connectToHost(const std::string& path) {
  const auto address = socketAddress(path);
  if (!address) return std::unexpected(address.error());
  Descriptor socket = openSocket();
  if (const int code = connectTo(socket, *address); code != 0) {
    return std::unexpected("No host listens at " + path + " (" + systemMessage(code) +
                           "); start one with: tilvanego host --callbacks " + path);
  }
  return socket;
}

CallbackSocket::CallbackSocket(std::string path, Descriptor listener)
    : path_(std::move(path)), listener_(std::move(listener)) {
  ::lstat(path_.c_str(), &file_);
}

CallbackSocket::~CallbackSocket() {
  struct stat there{};
  const bool ours =
      ::lstat(path_.c_str(), &there) == 0 && there.st_ino == file_.st_ino && there.st_dev == file_.st_dev;
  if (ours) ::unlink(path_.c_str());
}

std::expected<std::unique_ptr<CallbackSocket>, std::string> CallbackSocket::listenAt(
    const std::string& path) {
  const auto address = socketAddress(path);
  if (!address) return std::unexpected(address.error());
  if (auto obstacle = removeStaleSocket(path, *address)) return std::unexpected(*std::move(obstacle));
  Descriptor listener = openSocket(SOCK_NONBLOCK);
  if (const int code = bindPrivately(listener, *address); code != 0) {
    return std::unexpected("Can't listen at " + path + ": " + systemMessage(code) + ".");
  }
  auto socket = std::unique_ptr<CallbackSocket>(new CallbackSocket(path, std::move(listener)));
  if (::listen(socket->listener_.get(), SOMAXCONN) != 0) {
    return std::unexpected("Can't listen at " + path + ": " + systemMessage(errno) + ".");
  }
  return socket;
}

void CallbackSocket::addTo(std::vector<pollfd>& waiting) const {
  if (connections_.size() < maxConnections) waiting.push_back({listener_.get(), POLLIN, 0});
  for (const Connection& one : connections_) waiting.push_back({one.descriptor.get(), POLLIN, 0});
}

void CallbackSocket::serve(const Handler& handler) {
  acceptWaiting();
  // Only this function adds connections, so the indexes stay valid while a handler runs.
  for (std::size_t i = 0; i < connections_.size();) {
    const Progress progress = readFrom(connections_[i]);
    if (progress == Progress::waiting) {
      ++i;
      continue;
    }
    const Connection finished = std::move(connections_[i]);
    connections_.erase(connections_.begin() + static_cast<std::ptrdiff_t>(i));
    if (progress == Progress::broken) continue;
    const auto handled =
        finished.text.size() > longestCallbackURL
            ? std::unexpected("The URL is longer than " + std::to_string(longestCallbackURL) + " bytes.")
            : handler(finished.text);
    reply(finished, handled ? callbackTaken : std::string_view(handled.error()));
  }
}

void CallbackSocket::acceptWaiting() {
  while (connections_.size() < maxConnections) {
    Descriptor one(::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!one) return;
    connections_.push_back({std::move(one), {}});
  }
}

CallbackSocket::Progress CallbackSocket::readFrom(Connection& connection) {
  std::array<char, 65536> chunk{};
  while (connection.text.size() <= longestCallbackURL) {
    const ssize_t count = ::read(connection.descriptor.get(), chunk.data(), chunk.size());
    if (count == 0) return Progress::complete;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno == EAGAIN ? Progress::waiting : Progress::broken;
    connection.text.append(chunk.data(), static_cast<std::size_t>(count));
  }
  return Progress::complete;
}

void CallbackSocket::reply(const Connection& connection, std::string_view text) {
  // A failure is ignored: the sender has gone then. The text is short enough for the system's buffer.
  static_cast<void>(::send(connection.descriptor.get(), text.data(), text.size(), MSG_NOSIGNAL));
}

}  // namespace tilvanego::program
