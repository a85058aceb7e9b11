#pragma once

#include <tilvanego/values/Date.h>

namespace tilvanego {

/// Tells the time of day. May be asked from any thread.
class Clock {
 public:
  virtual ~Clock() = default;

  [[nodiscard]] virtual Date now() const = 0;
};

}  // namespace tilvanego
