#include <tilvanego/platform/desktop/CallbackServer.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/SignalsBlocked.h>
#include <tilvanego/platform/desktop/CallbackSocket.h>

namespace tilvanego::detail {
namespace {

constexpr std::size_t maxConnections = 16;
// After the process has run out of descriptors, before it tries again.
constexpr std::chrono::milliseconds pauseWithoutDescriptors(100);

}  // namespace

void CallbackReply::send(std::string_view text) {
  if (!connection_) return;
  // A failure is ignored: the sender has gone then. The text is short enough for the system's buffer.
  static_cast<void>(::send(connection_.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
  connection_ = FileDescriptor();
}

CallbackServer::CallbackServer(std::string path, FileDescriptor listener, Handler handler)
    : path_(std::move(path)),
      listener_(std::move(listener)),
      end_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      handler_(std::move(handler)) {
  ::lstat(path_.c_str(), &file_);
  const SignalsBlocked blocked;
  thread_ = std::thread([this] { runOnOwnThread("the thread of a CallbackReceiver", [this] { run(); }); });
}

CallbackServer::~CallbackServer() {
  const std::uint64_t one = 1;
  static_cast<void>(!::write(end_.get(), &one, sizeof one));
  thread_.join();
  struct stat there{};
  const bool ours =
      ::lstat(path_.c_str(), &there) == 0 && there.st_ino == file_.st_ino && there.st_dev == file_.st_dev;
  if (ours) ::unlink(path_.c_str());
}

void CallbackServer::run() {
  while (waitForSomething()) {
    acceptWaiting();
    readConnections();
  }
}

bool CallbackServer::waitForSomething() {
  std::vector<pollfd> waiting{{end_.get(), POLLIN, 0}};
  if (mayAccept_ && connections_.size() < maxConnections) waiting.push_back({listener_.get(), POLLIN, 0});
  auto timeout = mayAccept_ ? std::chrono::milliseconds(-1) : pauseWithoutDescriptors;
  for (const Connection& one : connections_) {
    waiting.push_back({one.descriptor.get(), POLLIN, 0});
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(one.lastByte + longestPause - Clock::now());
    const auto pause = std::max(left, std::chrono::milliseconds(0));
    timeout = timeout.count() < 0 ? pause : std::min(timeout, pause);
  }
  ::poll(waiting.data(), waiting.size(), static_cast<int>(timeout.count()));
  return waiting[0].revents == 0;
}

void CallbackServer::acceptWaiting() {
  mayAccept_ = true;
  while (connections_.size() < maxConnections) {
    FileDescriptor one(::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!one) {
      mayAccept_ = errno != EMFILE && errno != ENFILE && errno != ENOBUFS && errno != ENOMEM;
      return;
    }
    if (isOfThisUser(one)) connections_.push_back({std::move(one), Clock::now(), {}});
  }
}

void CallbackServer::readConnections() {
  for (std::size_t i = 0; i < connections_.size();) {
    const Progress progress = readFrom(connections_[i]);
    if (progress == Progress::waiting && Clock::now() < connections_[i].lastByte + longestPause) {
      ++i;
      continue;
    }
    Connection finished = std::move(connections_[i]);
    connections_.erase(std::next(connections_.begin(), static_cast<std::ptrdiff_t>(i)));
    if (progress == Progress::complete) finish(std::move(finished));
  }
}

CallbackServer::Progress CallbackServer::readFrom(Connection& connection) {
  std::array<char, 65536> chunk{};
  while (connection.text.size() <= maxCallbackURL) {
    const auto count = ::read(connection.descriptor.get(), chunk.data(), chunk.size());
    if (count == 0) return Progress::complete;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno == EAGAIN ? Progress::waiting : Progress::broken;
    connection.text.append(chunk.data(), static_cast<std::size_t>(count));
    connection.lastByte = Clock::now();
  }
  return Progress::complete;
}

void CallbackServer::finish(Connection connection) {
  const auto reply = std::make_shared<CallbackReply>(std::move(connection.descriptor));
  if (connection.text.size() > maxCallbackURL) {
    reply->send("The URL is longer than " + std::to_string(maxCallbackURL) + " bytes.");
  } else {
    handler_(std::move(connection.text), reply);
  }
}

}  // namespace tilvanego::detail
