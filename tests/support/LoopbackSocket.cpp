#include "tests/support/LoopbackSocket.h"

#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace tilvanego::test {
namespace {

sockaddr_in loopbackAddress(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

FileDescriptor streamSocket() {
  return checked(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0), "socket");
}

FileDescriptor boundSocket(bool shared = false) {
  auto result = streamSocket();
  const int reuse = shared ? 1 : 0;
  setsockopt(result.get(), SOL_SOCKET, SO_REUSEPORT, &reuse, sizeof reuse);
  const auto address = loopbackAddress(0);
  if (bind(result.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::system_error(errno, std::generic_category(), "bind");
  }
  return result;
}

// 0, or why the connection isn't established; it may yet be if that is EINPROGRESS.
int connectTo(const FileDescriptor& socket, std::uint16_t port) {
  const auto address = loopbackAddress(port);
  return connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
}

}  // namespace

FileDescriptor checked(int descriptor, const char* call) {
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), call);
  return FileDescriptor(descriptor);
}

FileDescriptor loopbackListener(int backlog) {
  auto listener = boundSocket();
  if (listen(listener.get(), backlog) != 0) throw std::system_error(errno, std::generic_category(), "listen");
  return listener;
}

FileDescriptor sharedPort() { return boundSocket(true); }

std::uint16_t portOf(const FileDescriptor& socket) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::system_error(errno, std::generic_category(), "getsockname");
  }
  return ntohs(address.sin_port);
}

void sendWithoutDelay(const FileDescriptor& socket) {
  const int on = 1;
  setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void closeWithReset(const FileDescriptor& socket) {
  const linger reset{.l_onoff = 1, .l_linger = 0};
  setsockopt(socket.get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
}

bool isListening(std::uint16_t port) {
  // A blocking connect to loopback is answered at once, one way or the other.
  const auto socket = checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
  return connectTo(socket, port) == 0;
}

RefusingPort::RefusingPort() : socket_(boundSocket()) {}

StuckPort::StuckPort() : listener_(loopbackListener(0)) {
  // A backlog of 0 has room for one connection; the system may allow for a few more.
  for (int count = 0; count < 8; ++count) {
    waiting_.push_back(streamSocket());
    (void)connectTo(waiting_.back(), port());
  }
}

}  // namespace tilvanego::test
