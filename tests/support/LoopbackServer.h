#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/HTTPMessages.h"

namespace tilvanego::test {

/// An HTTP/1.1 server in the test's own process, on a free port of 127.0.0.1, that does exactly what the test
/// tells it, faults included. One thread of its own serves all connections. It is ready when it is made;
/// when it goes, its connections are closed and its thread has ended.
///
/// Connections are kept alive unless a response ends them. "Expect: 100-continue" is answered with 100.
class LoopbackServer {
 public:
  /// Says what to do with a request. Runs on the server's thread, for one request at a time.
  using Handler = std::function<ServerResponse(const ReceivedRequest&)>;
  /// The same for a request of which only the head has come; none to wait for the body. What comes after an
  /// answer at this point isn't read as a request any more.
  using HeadHandler = std::function<std::optional<ServerResponse>(const ReceivedRequest&)>;

  explicit LoopbackServer(Handler handler, HeadHandler headHandler = {});
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;
  ~LoopbackServer();

  [[nodiscard]] std::uint16_t port() const;
  /// "http://127.0.0.1:PORT" and the path, which starts with "/".
  [[nodiscard]] std::string url(std::string_view path = "/") const;

  /// Every whole request so far, in the order of arrival.
  [[nodiscard]] std::vector<ReceivedRequest> requests() const;
  /// Every byte so far, whether or not it made up a request, the connections one after the other.
  [[nodiscard]] std::string receivedBytes() const;
  /// How many connections were accepted so far.
  [[nodiscard]] std::size_t connectionCount() const;

  /// Each waits until so many in all have been accepted, received, held, or ended by the client.
  void waitForConnections(std::size_t count) const;
  void waitForRequests(std::size_t count) const;
  void waitForHolds(std::size_t count) const;
  void waitForHangUps(std::size_t count) const;

  /// Lets every response that holds at this moment go on.
  void release();

 private:
  class Loop;
  std::unique_ptr<Loop> loop_;
};

}  // namespace tilvanego::test
