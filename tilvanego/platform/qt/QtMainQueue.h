#pragma once

#include <functional>
#include <memory>
#include <thread>

#include <tilvanego/platform/MainQueue.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The main queue of a host on Qt: its blocks run on Qt's event loop. A variable in `main`, declared after
/// the `QCoreApplication` (or `QGuiApplication`, `QApplication`), on its thread.
///
/// Any thread may post. Blocks run in the order in which they were posted, while a loop of the main thread
/// runs: `exec()`, or one inside it. A block that runs a loop of its own, such as that of a modal dialog,
/// lets the next blocks run inside it. Blocks that wait when `exec()` returns run in the next `exec()`; those
/// that have not run when the queue is destroyed are dropped.
///
/// No exception may pass through Qt's event loop: if a completion throws, the process ends after one line on
/// standard error that names the exception's type.
class QtMainQueue final : public MainQueue {
 public:
  /// Ends the process, after a message, if there is no `QCoreApplication` or another thread runs it.
  QtMainQueue();
  QtMainQueue(const QtMainQueue&) = delete;
  QtMainQueue& operator=(const QtMainQueue&) = delete;
  /// Must run on the main thread, and not in a block of this queue.
  ~QtMainQueue() override;

  void post(std::function<void()> block) override;
  [[nodiscard]] bool isCurrent() const override;

 private:
  class Receiver;

  std::thread::id mainThread_ = std::this_thread::get_id();
  /// Lives on the main thread; the events that it has not received end with it.
  std::unique_ptr<Receiver> receiver_;
};

}  // namespace tilvanego
