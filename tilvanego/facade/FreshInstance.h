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
/// Make and destroy it on the main thread of its platform, while no other thread calls `shared`. In a program
/// that takes payments it has no place.
class FreshInstance final {
 public:
  /// Ends the process if a port is missing.
  explicit FreshInstance(Platform platform);
  /// Pending operations end without a call of their completions.
  ~FreshInstance();
  FreshInstance(const FreshInstance&) = delete;
  FreshInstance& operator=(const FreshInstance&) = delete;

  /// Valid as long as this object.
  [[nodiscard]] TilvaneGo& operator*() const { return *instance_; }
  [[nodiscard]] TilvaneGo* operator->() const { return instance_.get(); }

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
