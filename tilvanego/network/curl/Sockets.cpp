#include <tilvanego/network/curl/Sockets.h>

#include <exception>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tilvanego::detail {
namespace {

/// 0 for a socket that isn't connected by IP.
template <typename Ask>
int portBy(Ask ask, curl_socket_t socket) {
  sockaddr_in6 address{};
  socklen_t size = sizeof address;
  // The port has the same place in addresses of both families.
  return ask(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0 ? ntohs(address.sin6_port) : 0;
}

}  // namespace

void Sockets::serve(CURL* handle) {
  curl_easy_setopt(handle, CURLOPT_OPENSOCKETFUNCTION, &open);
  curl_easy_setopt(handle, CURLOPT_OPENSOCKETDATA, static_cast<void*>(this));
  curl_easy_setopt(handle, CURLOPT_CLOSESOCKETFUNCTION, &close);
  curl_easy_setopt(handle, CURLOPT_CLOSESOCKETDATA, static_cast<void*>(this));
}

const Sockets::Entry* Sockets::find(int localPort, int remotePort) {
  for (Entry& entry : entries_) {
    if (entry.remotePort == 0) {
      entry.localPort = portBy(&getsockname, entry.socket);
      entry.remotePort = portBy(&getpeername, entry.socket);
    }
    if (entry.localPort == localPort && entry.remotePort == remotePort) return &entry;
  }
  return nullptr;
}

bool Sockets::hasUnread(int localPort, int remotePort) {
  const auto* const entry = find(localPort, remotePort);
  char byte = 0;
  return entry && recv(entry->socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) >= 0;
}

std::optional<std::chrono::milliseconds> Sockets::sinceLastByte(int localPort, int remotePort) {
#ifdef __linux__
  const auto* const entry = find(localPort, remotePort);
  tcp_info info{};
  socklen_t size = sizeof info;
  // A system that only imitates Linux may leave 0 in these members; the request was sent longer ago.
  if (entry && getsockopt(entry->socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 &&
      info.tcpi_last_data_sent > 0) {
    return std::chrono::milliseconds(info.tcpi_last_data_recv);
  }
#endif
  return std::nullopt;
}

curl_socket_t Sockets::open(void* self, curlsocktype, curl_sockaddr* address) noexcept {
#ifdef SOCK_CLOEXEC
  const int type = address->socktype | SOCK_CLOEXEC;
#else
  const int type = address->socktype;
#endif
  const curl_socket_t opened = socket(address->family, type, address->protocol);
  if (opened == CURL_SOCKET_BAD) return opened;
  try {
    static_cast<Sockets*>(self)->entries_.push_back({opened});
    return opened;
  } catch (const std::exception&) {
    ::close(opened);
    return CURL_SOCKET_BAD;
  }
}

int Sockets::close(void* self, curl_socket_t socket) noexcept {
  std::erase_if(static_cast<Sockets*>(self)->entries_,
                [socket](const Entry& entry) { return entry.socket == socket; });
  return ::close(socket);
}

}  // namespace tilvanego::detail
