#pragma once

#include <functional>

#include <tilvanego/platform/RunLoop.h>

#include "Descriptor.h"
#include "LineBuffer.h"

namespace tilvanego::program {

/// Waits for lines of a script and for blocks of the main queue at the same time. The blocks that a line
/// posts run before the next line.
class HostLoop {
 public:
  using LineHandler = std::function<void(const LineBuffer::Line& line)>;

  /// `loop` is the main queue, `input` the descriptor of the script. `loop` must outlive this object.
  HostLoop(RunLoop& loop, int input);
  HostLoop(const HostLoop&) = delete;
  HostLoop& operator=(const HostLoop&) = delete;
  ~HostLoop();

  /// Returns 0 at the end of the input, or the number of the signal that ends the program.
  [[nodiscard]] int run(const LineHandler& handler);

 private:
  [[nodiscard]] bool waitForSomething();
  void readInput();

  RunLoop& loop_;
  int input_;
  /// Becomes readable when the main queue has blocks, and by a signal.
  Descriptor wakeUp_;
  LineBuffer lines_;
  bool inputEnded_ = false;
};

}  // namespace tilvanego::program
