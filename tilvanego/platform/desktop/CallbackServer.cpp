#include <tilvanego/platform/desktop/CallbackServer.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/SignalsBlocked.h>

namespace tilvanego::detail {
namespace {

constexpr std::size_t maxConnections = 16;
// After the process has run out of descriptors, before it tries again.
constexpr std::chrono::milliseconds pauseWithoutDescriptors(100);
constexpr std::string_view tooSlow =
    "The URL didn't come in time; send it whole, and close the sending side.";

}  // namespace

void CallbackReply::send(std::string_view text) {
  if (!connection_) return;
  // A failure is ignored: the sender has gone then. The text is short enough for the system's buffer.
  static_cast<void>(::send(connection_.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
  connection_ = FileDescriptor();
}

CallbackServer::CallbackServer(CallbackListener listener, Handler handler, Patience patience)
    : listener_(std::move(listener)),
      end_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      handler_(std::move(handler)),
      patience_(patience) {
  const SignalsBlocked blocked;
  thread_ = std::thread([this] { runOnOwnThread("the thread of a CallbackReceiver", [this] { run(); }); });
}

CallbackServer::~CallbackServer() {
  if (!listener_.isOfThisProcess()) {
    // The thread doesn't exist here, its handle may be that of another one, and it may have been anywhere in
    // what it uses. The event is the parent's too.
    static_cast<void>(new std::thread(std::move(thread_)));
    static_cast<void>(new std::vector<Connection>(std::move(connections_)));
    return;
  }
  const std::uint64_t one = 1;
  static_cast<void>(!::write(end_.get(), &one, sizeof one));
  thread_.join();
}

void CallbackServer::run() {
  while (waitForSomething()) {
    readConnections();
    acceptWaiting();
  }
}

bool CallbackServer::waitForSomething() {
  std::vector<pollfd> waiting{{end_.get(), POLLIN, 0}};
  const auto now = Clock::now();
  auto until = Clock::time_point::max();
  if (!mayAccept_) {
    until = now + pauseWithoutDescriptors;
  } else if (nextAccept() <= now) {
    waiting.push_back({listener_.get(), POLLIN, 0});
  } else {
    until = nextAccept();
  }
  for (const Connection& one : connections_) {
    waiting.push_back({one.descriptor.get(), POLLIN, 0});
    until = std::min(until, endOf(one));
  }
  std::int64_t timeout = -1;
  if (until != Clock::time_point::max()) {
    timeout = std::max<std::int64_t>(std::chrono::ceil<std::chrono::milliseconds>(until - now).count(), 0);
  }
  ::poll(waiting.data(), waiting.size(), static_cast<int>(timeout));
  return waiting[0].revents == 0;
}

CallbackServer::Clock::time_point CallbackServer::nextAccept() const {
  if (connections_.size() < maxConnections) return Clock::time_point::min();
  return connections_.front().accepted + patience_.longestTurn;
}

void CallbackServer::acceptWaiting() {
  mayAccept_ = true;
  while (nextAccept() <= Clock::now()) {
    FileDescriptor one(::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!one) {
      mayAccept_ = errno != EMFILE && errno != ENFILE && errno != ENOBUFS && errno != ENOMEM;
      return;
    }
    if (!isOfThisUser(one)) continue;
    if (connections_.size() == maxConnections) {
      CallbackReply(std::move(connections_.front().descriptor)).send(tooSlow);
      connections_.erase(connections_.begin());
    }
    const auto now = Clock::now();
    connections_.push_back({std::move(one), now, now, {}});
  }
}

void CallbackServer::readConnections() {
  for (std::size_t i = 0; i < connections_.size();) {
    const Progress progress = readFrom(connections_[i]);
    const bool isLate = Clock::now() >= endOf(connections_[i]);
    if (progress == Progress::waiting && !isLate) {
      ++i;
      continue;
    }
    Connection finished = std::move(connections_[i]);
    connections_.erase(std::next(connections_.begin(), static_cast<std::ptrdiff_t>(i)));
    if (progress == Progress::complete) {
      finish(std::move(finished));
    } else if (progress == Progress::waiting) {
      CallbackReply(std::move(finished.descriptor)).send(tooSlow);
    }
  }
}

CallbackServer::Clock::time_point CallbackServer::endOf(const Connection& connection) const {
  return std::min(connection.lastByte + patience_.longestPause, connection.accepted + patience_.longestURL);
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
