#include <tilvanego/platform/SystemClock.h>

#include <chrono>

namespace [[gnu::visibility("default")]] tilvanego {

Date SystemClock::now() const {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return Date::fromSecondsSince1970(std::chrono::duration<double>(sinceEpoch).count());
}

}  // namespace tilvanego
