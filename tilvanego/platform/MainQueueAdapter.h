#pragma once

#include <functional>
#include <utility>

#include <tilvanego/platform/MainQueue.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The main queue of a host that has an event loop of its own. It may live in `main` beside that loop,
/// declared behind it: blocks that are posted by the library after the adapter's end are dropped, also those
/// of threads that still wait for a program. Destroyed on the main thread.
class MainQueueAdapter final : public MainQueue {
 public:
  using Post = std::function<void(std::function<void()>)>;
  using IsCurrent = std::function<bool()>;

  /// `post` hands a block to the host's loop and keeps the promises of `MainQueue::post`; `isCurrent` tells
  /// whether the calling thread is the one that runs that loop. Both are called from any thread, at once too,
  /// and neither is empty. Once the adapter has ended, neither is running or will be called.
  /// Neither may throw, as `MainQueue` says.
  MainQueueAdapter(Post post, IsCurrent isCurrent)
      : post_(std::move(post)), isCurrent_(std::move(isCurrent)) {}
  ~MainQueueAdapter() override { end(); }

  void post(std::function<void()> block) override { post_(std::move(block)); }
  [[nodiscard]] bool isCurrent() const override { return isCurrent_(); }

 private:
  Post post_;
  IsCurrent isCurrent_;
};

}  // namespace tilvanego
