#pragma once

#include <functional>
#include <vector>

#include <poll.h>

#include <tilvanego/platform/RunLoop.h>

#include "CallbackSocket.h"
#include "Descriptor.h"
#include "LineBuffer.h"

namespace tilvanego::program {

/// Waits for lines of a script, for callbacks and for blocks of the main queue at the same time. The blocks
/// that a line or a callback posts run before the next line or callback.
class HostLoop {
 public:
  struct Handlers {
    std::function<void(const LineBuffer::Line& line)> line;
    CallbackSocket::Handler callback;
  };

  /// `loop` is the main queue, `input` the descriptor of the script; `callbacks` may be null. All must
  /// outlive this object.
  HostLoop(RunLoop& loop, int input, CallbackSocket* callbacks);
  HostLoop(const HostLoop&) = delete;
  HostLoop& operator=(const HostLoop&) = delete;
  ~HostLoop();

  /// Returns 0 at the end of the input, or the number of the signal that ends the program.
  [[nodiscard]] int run(const Handlers& handlers);

 private:
  [[nodiscard]] bool waitForSomething();
  void readInput();

  RunLoop& loop_;
  int input_;
  CallbackSocket* callbacks_;
  /// Becomes readable when the main queue has blocks, and by a signal.
  Descriptor wakeUp_;
  LineBuffer lines_;
  bool inputEnded_ = false;
};

}  // namespace tilvanego::program
