#include "tests/support/LoopbackSocket.h"

#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
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

void check(int result, const char* call) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), call);
}

FileDescriptor streamSocket(int more = 0) {
  FileDescriptor made(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | more, 0));
  check(made.get(), "socket");
  return made;
}

FileDescriptor boundSocket(int shared) {
  auto result = streamSocket();
  setsockopt(result.get(), SOL_SOCKET, SO_REUSEPORT, &shared, sizeof shared);
  const auto address = loopbackAddress(0);
  check(bind(result.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind");
  return result;
}

bool connects(const FileDescriptor& socket, std::uint16_t port) {
  const auto address = loopbackAddress(port);
  return connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

}  // namespace

FileDescriptor heldPort() { return boundSocket(1); }

FileDescriptor loopbackListener(int backlog) {
  auto listener = boundSocket(0);
  check(listen(listener.get(), backlog), "listen");
  return listener;
}

std::uint16_t portOf(const FileDescriptor& socket) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  check(getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
  return ntohs(address.sin_port);
}

FileDescriptor connectedTo(std::uint16_t port) {
  auto result = streamSocket();
  check(connects(result, port) ? 0 : -1, "connect");
  return result;
}

// A connection to loopback that waits is established or refused at once.
bool isListening(std::uint16_t port) { return connects(streamSocket(), port); }

StuckPort::StuckPort() : listener_(loopbackListener(0)) {
  // A backlog of 0 has room for one connection; the system may allow for a few more.
  for (int count = 0; count < 8; ++count) {
    waiting_.push_back(streamSocket(SOCK_NONBLOCK));
    (void)connects(waiting_.back(), port());
  }
}

}  // namespace tilvanego::test
