#pragma once

#include <functional>
#include <vector>

#include <poll.h>

#include <tilvanego/platform/RunLoop.h>

#include "CallbackSocket.h"
#include "Descriptor.h"
#include "LineBuffer.h"

namespace tilvanego::program {

/// Waits at once for lines of a script, for callbacks and for what comes to the main queue. Whatever a line
/// or a callback puts on the main queue has run before the next one is taken.
class HostLoop {
 public:
  struct Handlers {
    std::function<void(const LineBuffer::Line& line)> line;
    CallbackSocket::Handler callback;
  };

  /// `loop` is the main queue, `input` a descriptor to read the script from, `callbacks` null for none. All
  /// outlive this.
  HostLoop(RunLoop& loop, int input, CallbackSocket* callbacks);
  HostLoop(const HostLoop&) = delete;
  HostLoop& operator=(const HostLoop&) = delete;
  ~HostLoop();

  /// Returns 0 at the end of the input, or the number of the signal that asked the program to end.
  [[nodiscard]] int run(const Handlers& handlers);

 private:
  [[nodiscard]] bool waitForSomething();
  void readInput();

  RunLoop& loop_;
  int input_;
  CallbackSocket* callbacks_;
  /// Becomes readable when the main queue has something to do, and by a signal.
  Descriptor wakeUp_;
  LineBuffer lines_;
  bool inputEnded_ = false;
};

}  // namespace tilvanego::program
