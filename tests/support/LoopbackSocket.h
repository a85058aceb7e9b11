#pragma once

#include <cstdint>
#include <vector>

#include <tilvanego/platform/FileDescriptor.h>

namespace tilvanego::test {

using detail::FileDescriptor;

/// Holds a free port of 127.0.0.1, which refuses every connection unless a listener of the same user sets
/// SO_REUSEPORT too.
FileDescriptor heldPort();
/// Listens on a free port of 127.0.0.1.
FileDescriptor loopbackListener(int backlog);
std::uint16_t portOf(const FileDescriptor& socket);
/// A connection to the port, which must be listened on.
FileDescriptor connectedTo(std::uint16_t port);
/// True if something accepts connections on the port.
bool isListening(std::uint16_t port);

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
