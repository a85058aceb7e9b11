#pragma once

#include <tilvanego/values/Date.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The port that returns the time. Any thread may call it.
class Clock {
 public:
  virtual ~Clock() = default;

  /// Returns the current time. May throw: then a payment's link that needs a date is not built, and a
  /// response on the pasteboard fails as one that cannot be decrypted.
  [[nodiscard]] virtual Date now() const = 0;
};

}  // namespace tilvanego
