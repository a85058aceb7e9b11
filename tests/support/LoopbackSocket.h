#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <tilvanego/platform/desktop/FileDescriptor.h>

namespace tilvanego::test {

using detail::FileDescriptor;

/// Wraps what a system call gave; throws with the name of the call if it failed.
FileDescriptor checked(int descriptor, const char* call);

/// Listens on a free port of 127.0.0.1; accepting from it never waits.
FileDescriptor loopbackListener(int backlog);
/// Holds a free port of 127.0.0.1 for a listener of the same user that sets SO_REUSEPORT too; takes no
/// connection itself.
FileDescriptor sharedPort();
std::uint16_t portOf(const FileDescriptor& socket);

void sendWithoutDelay(const FileDescriptor& socket);
/// Has the closing of the socket reset the connection.
void closeWithReset(const FileDescriptor& socket);
/// True if something accepts connections on the port.
bool isListening(std::uint16_t port);

/// A port of 127.0.0.1 that refuses every connection, for as long as this lives.
class RefusingPort {
 public:
  RefusingPort();
  [[nodiscard]] std::uint16_t port() const { return portOf(socket_); }

 private:
  FileDescriptor socket_;
};

/// A port of 127.0.0.1 on which connections are begun and never established, for as long as this lives: its
/// queue of connections to accept is full.
class StuckPort {
 public:
  StuckPort();
  [[nodiscard]] std::uint16_t port() const { return portOf(listener_); }

 private:
  FileDescriptor listener_;
  std::vector<FileDescriptor> waiting_;
};

}  // namespace tilvanego::test
