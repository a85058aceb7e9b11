#pragma once

#include <tilvanego/values/Date.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Tells the time of day. May be asked from any thread. May throw: what needed the time fails, a link that
/// isn't built or an answer that isn't read.
class Clock {
 public:
  virtual ~Clock() = default;

  /// May throw: a form of a payment that is dated isn't built then, and an answer on the pasteboard, of which
  /// nobody knows whether it came in time, fails as one that can't be opened.
  [[nodiscard]] virtual Date now() const = 0;
};

}  // namespace tilvanego
