#include "tests/support/LoopbackServer.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <variant>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/support/LoopbackSocket.h"

namespace tilvanego::test {
namespace {

struct Connection {
  Connection(FileDescriptor descriptor, std::size_t itsNumber)
      : socket(std::move(descriptor)), number(itsNumber) {}

  FileDescriptor socket;
  std::size_t number;
  RequestReader reader;
  std::size_t requestCount = 0;
  std::deque<ServerResponse::Step> steps;
  // How much of the step in front is sent, if that is a Send.
  std::size_t sent = 0;
  bool holds = false;
  // The rest of what comes isn't looked at.
  bool deaf = false;

  [[nodiscard]] bool hasToSend() const { return !steps.empty() && !holds; }
  void take(ServerResponse response) { std::ranges::move(response.steps, std::back_inserter(steps)); }
};

// What both threads see.
struct Record {
  std::vector<ReceivedRequest> requests;
  std::vector<std::string> bytes;
  std::size_t holds = 0;
  std::size_t hangUps = 0;
  bool stopped = false;
  bool released = false;
};

}  // namespace

class LoopbackServer::Loop {
 public:
  Loop(Handler handler, HeadHandler headHandler)
      : handler_(std::move(handler)),
        headHandler_(std::move(headHandler)),
        listener_(loopbackListener(SOMAXCONN)),
        port(portOf(listener_)),
        wake_(checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
        thread_([this] { run(); }) {}

  ~Loop() {
    change([](Record& record) { record.stopped = true; });
    thread_.join();
  }

  template <typename Read>
  auto read(Read read) const {
    const std::scoped_lock lock(mutex_);
    return read(record_);
  }

  template <typename Condition>
  void wait(Condition condition) const {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return condition(record_); });
  }

  // From the test's threads: changes the record and has the server's thread look at it.
  template <typename Change>
  void change(Change change) {
    note(change);
    (void)eventfd_write(wake_.get(), 1);
  }

 private:
  template <typename Change>
  void note(Change change) {
    const std::scoped_lock lock(mutex_);
    change(record_);
    changed_.notify_all();
  }

  void run() {
    while (!obeyTest()) {
      std::vector<pollfd> waited{{wake_.get(), POLLIN, 0}, {listener_.get(), POLLIN, 0}};
      for (const auto& connection : connections_) {
        const int events = POLLIN | (connection.hasToSend() ? POLLOUT : 0);
        waited.push_back({connection.socket.get(), static_cast<short>(events), 0});
      }
      if (poll(waited.data(), waited.size(), -1) < 0) continue;
      serve(waited);
      std::erase_if(connections_, [](const Connection& connection) { return !connection.socket; });
      if (waited[1].revents != 0) accept();
    }
  }

  // True to stop.
  bool obeyTest() {
    eventfd_t ignored = 0;
    (void)eventfd_read(wake_.get(), &ignored);
    const std::scoped_lock lock(mutex_);
    if (std::exchange(record_.released, false)) {
      for (auto& connection : connections_) {
        if (std::exchange(connection.holds, false)) connection.steps.pop_front();
      }
    }
    return record_.stopped;
  }

  void accept() {
    while (FileDescriptor socket{accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC)}) {
      sendWithoutDelay(socket);
      connections_.emplace_back(std::move(socket), accepted_++);
      note([](Record& record) { record.bytes.emplace_back(); });
    }
  }

  void serve(const std::vector<pollfd>& waited) {
    for (std::size_t index = 0; index < connections_.size(); ++index) {
      auto& connection = connections_[index];
      const int events = waited[index + 2].revents;
      if ((events & (POLLIN | POLLHUP | POLLERR)) != 0) receive(connection);
      if (connection.socket && connection.hasToSend()) step(connection);
    }
  }

  void receive(Connection& connection) {
    std::array<char, 65536> buffer;
    const auto count = recv(connection.socket.get(), buffer.data(), buffer.size(), 0);
    if (count < 0 && errno == EAGAIN) return;
    if (count <= 0) {
      connection.socket = {};
      note([](Record& record) { ++record.hangUps; });
      return;
    }
    const std::string_view bytes(buffer.data(), static_cast<std::size_t>(count));
    note([&](Record& record) { record.bytes[connection.number] += bytes; });
    if (connection.deaf) return;
    connection.reader.append(bytes);
    respondToHead(connection);
    while (auto request = connection.deaf ? std::nullopt : connection.reader.takeRequest()) {
      request->connection = connection.number;
      request->numberOnConnection = connection.requestCount++;
      note([&](Record& record) { record.requests.push_back(*request); });
      connection.take(handler_(*request));
      respondToHead(connection);
    }
    if (connection.reader.isBroken() && !std::exchange(connection.deaf, true)) {
      connection.take(response(400, "no HTTP request").then(ServerResponse::Close{}));
    }
  }

  void respondToHead(Connection& connection) {
    const auto head = connection.reader.takeHead();
    if (!head) return;
    auto early = headHandler_ ? headHandler_(*head) : std::nullopt;
    if (early) {
      connection.take(*std::move(early));
      connection.deaf = true;
    } else if (head->header("Expect")) {
      connection.take(ServerResponse{{ServerResponse::Send{"HTTP/1.1 100 Continue\r\n\r\n"}}});
    }
  }

  // Goes on as far as it can without waiting; a piece of a Send ends a turn.
  void step(Connection& connection) {
    while (connection.hasToSend()) {
      const auto& next = connection.steps.front();
      if (const auto* send = std::get_if<ServerResponse::Send>(&next)) {
        if (!sendSome(connection, *send)) return;
      } else if (std::holds_alternative<ServerResponse::Hold>(next)) {
        connection.holds = true;
        note([](Record& record) { ++record.holds; });
        return;
      } else {
        if (std::holds_alternative<ServerResponse::Reset>(next)) closeWithReset(connection.socket);
        connection.socket = {};
        return;
      }
      connection.steps.pop_front();
    }
  }

  // True when all is sent.
  static bool sendSome(Connection& connection, const ServerResponse::Send& send) {
    auto rest = std::string_view(send.bytes).substr(connection.sent);
    if (send.pieceSize != 0) rest = rest.substr(0, send.pieceSize);
    const auto count = ::send(connection.socket.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
    // Whoever hung up is noticed when its connection is read.
    if (count > 0) connection.sent += static_cast<std::size_t>(count);
    if (connection.sent < send.bytes.size()) return false;
    connection.sent = 0;
    return true;
  }

  const Handler handler_;
  const HeadHandler headHandler_;
  const FileDescriptor listener_;

 public:
  const std::uint16_t port;

 private:
  const FileDescriptor wake_;
  // The server's thread alone.
  std::vector<Connection> connections_;
  std::size_t accepted_ = 0;

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  Record record_;

  std::thread thread_;
};

LoopbackServer::LoopbackServer(Handler handler, HeadHandler headHandler)
    : loop_(std::make_unique<Loop>(std::move(handler), std::move(headHandler))) {}
LoopbackServer::~LoopbackServer() = default;

std::uint16_t LoopbackServer::port() const { return loop_->port; }

std::string LoopbackServer::url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(port()) + std::string(path);
}

std::vector<ReceivedRequest> LoopbackServer::requests() const {
  return loop_->read([](const Record& record) { return record.requests; });
}

std::string LoopbackServer::receivedBytes() const {
  return loop_->read([](const Record& record) {
    std::string all;
    for (const auto& bytes : record.bytes) all += bytes;
    return all;
  });
}

std::size_t LoopbackServer::connectionCount() const {
  return loop_->read([](const Record& record) { return record.bytes.size(); });
}

void LoopbackServer::waitForConnections(std::size_t count) const {
  loop_->wait([&](const Record& record) { return record.bytes.size() >= count; });
}
void LoopbackServer::waitForRequests(std::size_t count) const {
  loop_->wait([&](const Record& record) { return record.requests.size() >= count; });
}
void LoopbackServer::waitForHolds(std::size_t count) const {
  loop_->wait([&](const Record& record) { return record.holds >= count; });
}
void LoopbackServer::waitForHangUps(std::size_t count) const {
  loop_->wait([&](const Record& record) { return record.hangUps >= count; });
}

void LoopbackServer::release() {
  loop_->change([](Record& record) { record.released = true; });
}

}  // namespace tilvanego::test
