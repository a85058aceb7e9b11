#pragma once

#include <memory>

#include <tilvanego/platform/Platform.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

class TilvaneGo;

/// An instance of `TilvaneGo` for one test of a host, with a platform of its own. While it lives,
/// `TilvaneGo::shared()` returns it, so that the host's code needs no change for its tests; of several that
/// live, the last one made. Afterwards `shared` is what it was before: an instance of the process that exists
/// already isn't touched, and none is made for it.
///
/// What a pending completion has captured is destroyed while `shared` is still this instance, which is ended
/// by then: a destructor that asks it finds nothing pending, and what it starts isn't started. What only the
/// ports of the platform own, or its queue, ends later, when `shared` is what it was before: empty the queue,
/// or `end` this, before.
///
/// Make and destroy it on the main thread of its platform, while no other thread calls `shared`. In a program
/// that takes payments it has no place.
class FreshInstance final {
 public:
  /// Ends the process if a port is missing.
  explicit FreshInstance(Platform platform);
  /// Ends it, see `end`.
  ~FreshInstance();
  FreshInstance(const FreshInstance&) = delete;
  FreshInstance& operator=(const FreshInstance&) = delete;

  /// Valid as long as this object.
  [[nodiscard]] TilvaneGo& operator*() const { return *instance_; }
  [[nodiscard]] TilvaneGo* operator->() const { return instance_.get(); }

  /// Ends the instance before the destructor does: pending operations end without a call of their
  /// completions, and later ones aren't started. It remains valid, and `shared` as long as this object lives.
  void end() const;

  /// `TilvaneGo::handleCallback` of this instance.
  bool handleCallback(const URL& url) const;

 private:
  friend class TilvaneGo;
  struct End {
    void operator()(TilvaneGo* instance) const;
  };

  /// The one that is `shared` now, or null.
  static FreshInstance*& innermost();

  std::unique_ptr<TilvaneGo, End> instance_;
  /// The one that is `shared` after this one.
  FreshInstance* outer_;
};

}  // namespace tilvanego
