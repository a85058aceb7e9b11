#pragma once

#include <memory>

#include <tilvanego/platform/Timer.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Calls back on Qt's event loop, on the main thread. Needs no thread of its own, unlike `SystemTimer`.
class QtTimer final : public Timer {
 public:
  /// Ends the process, after a message, if there is no `QCoreApplication` or another thread runs it.
  QtTimer();
  QtTimer(const QtTimer&) = delete;
  QtTimer& operator=(const QtTimer&) = delete;
  ~QtTimer() override;

  void after(std::chrono::milliseconds delay, std::function<void()> block) override;

 private:
  class Context;

  std::unique_ptr<Context> context_;
};

}  // namespace tilvanego
