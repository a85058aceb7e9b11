#pragma once

#include <functional>
#include <memory>

#include <tilvanego/platform/MainQueue.h>

class QObject;

namespace [[gnu::visibility("default")]] tilvanego {

/// The main queue of a host on Qt: its blocks run on Qt's event loop. A variable in `main`, declared after
/// the `QGuiApplication`, on its thread. Blocks that have not run when it is destroyed are dropped.
///
/// No exception may pass through Qt's event loop: if a completion throws, the process ends after one line on
/// standard error that names the exception's type.
class QtMainQueue final : public MainQueue {
 public:
  /// Ends the process if there is no `QCoreApplication`, or another thread runs it.
  QtMainQueue();
  QtMainQueue(const QtMainQueue&) = delete;
  QtMainQueue& operator=(const QtMainQueue&) = delete;
  ~QtMainQueue() override;

  void post(std::function<void()> block) override;
  [[nodiscard]] bool isCurrent() const override;

 private:
  /// Lives on the main thread; its pending calls end with it.
  std::unique_ptr<QObject> receiver_;
};

}  // namespace tilvanego
