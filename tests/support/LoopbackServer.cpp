#include "tests/support/LoopbackServer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <sstream>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <zlib.h>

#include <tilvanego/values/ASCII.h>

#include "tests/support/NginxServer.h"

namespace tilvanego::test {
namespace {

constexpr std::string_view headEnd = "\r\n\r\n";

std::optional<std::string> valueIn(const HeaderFields& headers, std::string_view name) {
  for (const auto& [key, value] : headers) {
    if (detail::equalIgnoringASCIICase(key, name)) return value;
  }
  return std::nullopt;
}

ReceivedRequest requestOf(const std::string& head) {
  ReceivedRequest request;
  std::istringstream lines(head);
  std::string line;
  lines >> request.method >> request.target;
  std::getline(lines, line);
  while (std::getline(lines, line, '\r') && lines.ignore()) {
    const auto colon = std::min(line.find(':'), line.size());
    const auto value = std::min(line.find_first_not_of(" \t", colon + 1), line.size());
    request.headers.emplace_back(line.substr(0, colon), line.substr(value));
  }
  return request;
}

// Null where the servers are reached themselves.
const NginxServer* front() {
  static const auto server = std::getenv("TILVANEGO_OVER_HTTP2") ? std::make_unique<NginxServer>() : nullptr;
  return server.get();
}

}  // namespace

std::optional<std::string> ReceivedRequest::header(std::string_view name) const {
  return valueIn(headers, name);
}

std::string headOf(int status, const HeaderFields& headers) {
  std::string head = "HTTP/1.1 " + std::to_string(status) + " Told\r\n";
  for (const auto& [name, value] : headers) head.append(name).append(": ").append(value).append("\r\n");
  return head.append("\r\n");
}

ServerResponse response(int status, std::string_view body, HeaderFields headers) {
  if (!valueIn(headers, "Content-Length"))
    headers.emplace_back("Content-Length", std::to_string(body.size()));
  return {headOf(status, headers).append(body)};
}

ServerResponse chunkedResponse(int status, std::string_view body, std::size_t chunkSize,
                               HeaderFields headers) {
  headers.emplace_back("Transfer-Encoding", "chunked");
  std::ostringstream bytes;
  bytes << headOf(status, headers) << std::hex;
  for (; !body.empty(); body.remove_prefix(std::min(chunkSize, body.size()))) {
    const auto chunk = body.substr(0, chunkSize);
    bytes << chunk.size() << "\r\n" << chunk << "\r\n";
  }
  return {bytes.str() + "0\r\n\r\n"};
}

ServerResponse redirect(std::string_view location, int status) {
  return response(status, {}, {{"Location", std::string(location)}});
}

std::string compressed(std::string_view plain, int form) {
  z_stream stream{};
  deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, form, 9, Z_DEFAULT_STRATEGY);
  std::string result(deflateBound(&stream, plain.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(plain.data()));
  stream.avail_in = static_cast<uInt>(plain.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data());
  stream.avail_out = static_cast<uInt>(result.size());
  deflate(&stream, Z_FINISH);
  result.resize(stream.total_out);
  deflateEnd(&stream);
  return result;
}

struct LoopbackServer::Connection {
  FileDescriptor socket;
  std::string rest;
  std::size_t requestCount = 0;

  bool send(std::string_view bytes, std::size_t pieceSize = SIZE_MAX) const {
    while (!bytes.empty()) {
      const auto count = ::send(socket.get(), bytes.data(), std::min(pieceSize, bytes.size()), MSG_NOSIGNAL);
      if (count < 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }
};

LoopbackServer::LoopbackServer(Handler handler, Waits waits)
    : handler_(std::move(handler)), waits_(waits), acceptor_([this] { accept(); }) {}

LoopbackServer::~LoopbackServer() {
  shutdown(listener_.get(), SHUT_RDWR);
  acceptor_.join();
  note([this] {
    for (const int socket : open_) shutdown(socket, SHUT_RDWR);
  });
}

template <typename Change>
void LoopbackServer::note(Change change) {
  const std::scoped_lock lock(mutex_);
  change();
  changed_.notify_all();
}

void LoopbackServer::accept() {
  while (FileDescriptor socket{accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)}) {
    std::erase_if(served_, [](const auto& one) {
      return one.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    });
    const int on = 1;
    setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    note([&] {
      ++counts_.connections;
      open_.insert(socket.get());
    });
    served_.push_back(
        std::async(std::launch::async, [this, connection = Connection{std::move(socket), {}, 0}]() mutable {
          serve(connection);
          note([&] {
            open_.erase(connection.socket.get());
            connection.socket = {};
          });
        }));
  }
}

void LoopbackServer::serve(Connection& connection) {
  while (auto request = nextRequest(connection)) {
    request->numberOnConnection = connection.requestCount++;
    note([&] {
      ++counts_.requests;
      requests_.push_back(*request);
    });
    const auto [bytes, end, drips] = handled(*request);
    if (!connection.send(bytes, drips ? 1 : bytes.size()) || end == End::close) return;
    if (end == End::reset) {
      const linger reset{.l_onoff = 1, .l_linger = 0};
      setsockopt(connection.socket.get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
      return;
    }
    if (end == End::silence) note([&] { ++counts_.silences; });
    if (end == End::nextRequest && waits_ == Waits::forBody) continue;
    while (receive(connection)) {
    }
    note([&] { ++counts_.hangUps; });
    return;
  }
}

ServerResponse LoopbackServer::handled(const ReceivedRequest& request) {
  const std::scoped_lock oneAtATime(handling_);
  return handler_(request);
}

std::optional<ReceivedRequest> LoopbackServer::nextRequest(Connection& connection) {
  std::size_t end = 0;
  while ((end = connection.rest.find(headEnd)) == std::string::npos) {
    if (!receive(connection)) return std::nullopt;
  }
  auto request = requestOf(connection.rest.substr(0, end + 2));
  connection.rest.erase(0, end + headEnd.size());
  if (waits_ == Waits::forHead) return request;
  if (request.header("Expect")) connection.send("HTTP/1.1 100 Continue\r\n\r\n");
  const auto size = std::stoul(request.header("Content-Length").value_or("0"));
  while (connection.rest.size() < size) {
    if (!receive(connection)) return std::nullopt;
  }
  request.body = connection.rest.substr(0, size);
  connection.rest.erase(0, size);
  return request;
}

// False when the client has hung up.
bool LoopbackServer::receive(Connection& connection) {
  std::array<char, 65536> buffer;
  const auto count = recv(connection.socket.get(), buffer.data(), buffer.size(), 0);
  if (count <= 0) return false;
  connection.rest.append(buffer.data(), static_cast<std::size_t>(count));
  return true;
}

std::string LoopbackServer::url(std::string_view path) const {
  const auto place = std::to_string(port()) + std::string(path);
  return front() ? front()->secureURL("/to/" + place) : "http://127.0.0.1:" + place;
}

URLSessionConfiguration LoopbackServer::reaching(URLSessionConfiguration configuration) {
  if (!configuration.proxy) configuration.proxy = "";
  if (front() && configuration.additionalCertificates.empty() && !configuration.tls.authorities.isSet()) {
    configuration.additionalCertificates = front()->certificate();
  }
  return configuration;
}

std::vector<ReceivedRequest> LoopbackServer::requests() const {
  const std::scoped_lock lock(mutex_);
  return requests_;
}
std::size_t LoopbackServer::connectionCount() const {
  const std::scoped_lock lock(mutex_);
  return counts_.connections;
}
void LoopbackServer::waitFor(std::size_t Counts::* what, std::size_t count) const {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return counts_.*what >= count; });
}

}  // namespace tilvanego::test
