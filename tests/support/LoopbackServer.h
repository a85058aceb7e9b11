#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <sys/socket.h>

#include <tilvanego/network/URLSession.h>

#include "tests/support/LoopbackSocket.h"

namespace tilvanego::test {

using HeaderFields = std::vector<std::pair<std::string, std::string>>;

/// A request as it came over the wire.
struct ReceivedRequest {
  std::string method;
  /// As it stood in the request line: a path with its query, or a whole URL where a proxy was asked.
  std::string target;
  HeaderFields headers;
  std::string body;
  /// The number of the request on its connection, from 0.
  std::size_t numberOnConnection = 0;

  /// The first field of this name, in whatever case; none if there is none.
  [[nodiscard]] std::optional<std::string> header(std::string_view name) const;
  /// The target up to its query.
  [[nodiscard]] std::string path() const { return target.substr(0, target.find('?')); }
};

/// What a server sends, byte for byte, and what it does then.
struct ServerResponse {
  /// `silence` does nothing until the client hangs up.
  enum class End { nextRequest, silence, close, reset };

  std::string bytes;
  End end = End::nextRequest;
  /// One byte a segment.
  bool drips = false;

  ServerResponse then(End newEnd) && { return {std::move(bytes), newEnd, drips}; }
};
using End = ServerResponse::End;

/// Status line and headers, with the empty line.
std::string headOf(int status, const HeaderFields& headers);
/// A whole response with the length of its body, unless the headers say it.
ServerResponse response(int status, std::string_view body = {}, HeaderFields headers = {});
/// The body in chunks of the given size.
ServerResponse chunkedResponse(int status, std::string_view body, std::size_t chunkSize,
                               HeaderFields headers = {});
/// A Location.
ServerResponse redirect(std::string_view location, int status = 302);

/// The start of a head, and a head that promises 1000 bytes with 400 of them.
inline const std::string halfHead = "HTTP/1.1 200 Told\r\nContent-Le";
inline const std::string halfBody = headOf(200, {{"Content-Length", "1000"}}) + std::string(400, 'x');
inline const ServerResponse silence{"", End::silence};
inline const ServerResponse brokenChunkSize{headOf(200, {{"Transfer-Encoding", "chunked"}}) +
                                            "5\r\nhello\r\nzz\r\nworld\r\n0\r\n\r\n"};
inline const ServerResponse notHTTP{"SSH-2.0-surprise\r\n\r\n", End::close};

/// The forms of zlib's streams, by the window bits that it knows them by.
inline constexpr int gzipForm = 31;
inline constexpr int zlibForm = 15;
inline constexpr int bareForm = -15;
std::string compressed(std::string_view plain, int form);

/// An HTTP/1.1 server in the test's own process, on a free port of 127.0.0.1, that does exactly what the test
/// tells it, faults included. It is ready when it is made; when it goes, its connections are closed and its
/// threads, one for each connection, have ended.
///
/// Connections are kept alive unless a response ends them. "Expect: 100-continue" is answered with 100.
class LoopbackServer {
 public:
  /// Says what to do with a request. Runs for one request at a time, on the connection's thread.
  using Handler = std::function<ServerResponse(const ReceivedRequest&)>;
  /// Whether a request is handled when it is whole, or when its head is: what comes after the head then isn't
  /// looked at.
  enum class Waits { forBody, forHead };

  explicit LoopbackServer(Handler handler, Waits waits = Waits::forBody);
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;
  ~LoopbackServer();

  [[nodiscard]] std::uint16_t port() const { return portOf(listener_); }
  /// "http://127.0.0.1:PORT" and the path, which starts with "/". With TILVANEGO_OVER_HTTP2 in the
  /// environment that of an nginx before it, which speaks HTTP/2 and passes everything on as it comes.
  [[nodiscard]] std::string url(std::string_view path = "/") const;
  /// The configuration for a session that can use these URLs: without the environment's proxy, and with
  /// trust in that nginx if it trusts no other.
  [[nodiscard]] static URLSessionConfiguration reaching(URLSessionConfiguration configuration = {});

  /// Every request that was handled so far, in the order of arrival.
  [[nodiscard]] std::vector<ReceivedRequest> requests() const;
  /// How many connections were accepted so far.
  [[nodiscard]] std::size_t connectionCount() const;

  /// How often something has happened: connections were accepted, requests received, met with silence, or
  /// given up in it by the client.
  struct Counts {
    std::size_t connections = 0, requests = 0, silences = 0, hangUps = 0;
  };
  /// Waits until it has happened so often in all.
  void waitFor(std::size_t Counts::* what, std::size_t count) const;

 private:
  struct Connection;

  void accept();
  void serve(Connection& connection);
  ServerResponse handled(const ReceivedRequest& request);
  std::optional<ReceivedRequest> nextRequest(Connection& connection);
  bool receive(Connection& connection);
  template <typename Change>
  void note(Change change);

  const Handler handler_;
  const Waits waits_;
  const FileDescriptor listener_ = loopbackListener(SOMAXCONN);
  std::mutex handling_;
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  Counts counts_;
  std::vector<ReceivedRequest> requests_;
  std::set<int> open_;
  // The acceptor's; each waits for its thread's end when it goes.
  std::vector<std::future<void>> served_;
  std::thread acceptor_;
};
using Counts = LoopbackServer::Counts;

}  // namespace tilvanego::test
