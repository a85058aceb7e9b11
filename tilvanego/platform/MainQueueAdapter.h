#pragma once

#include <functional>
#include <utility>

#include <tilvanego/platform/MainQueue.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The main queue of a host with its own event loop. It may be a variable in `main`, declared after the loop.
/// Blocks that the library posts after the adapter's end are dropped. Must be destroyed on the main thread.
class MainQueueAdapter final : public MainQueue {
 public:
  using Post = std::function<void(std::function<void()>)>;
  using IsCurrent = std::function<bool()>;

  /// `post` passes a block to the host's loop, by the rules of `MainQueue::post`. `isCurrent` returns whether
  /// the calling thread runs that loop. Both must not be empty and must not throw. Any thread may call them,
  /// several at the same time. After the adapter's end, neither is running or will be called.
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
