#include <tilvanego/platform/memory/ManualClock.h>

#include <tilvanego/platform/SystemClock.h>

namespace [[gnu::visibility("default")]] tilvanego {

Date ManualClock::now() const {
  const std::scoped_lock lock(mutex_);
  return stoppedAt_ ? *stoppedAt_ : SystemClock().now();
}

void ManualClock::stopAt(const Date& instant) {
  const std::scoped_lock lock(mutex_);
  stoppedAt_ = instant;
}

void ManualClock::followSystem() {
  const std::scoped_lock lock(mutex_);
  stoppedAt_.reset();
}

}  // namespace tilvanego
