#pragma once

#include <tilvanego/platform/Clock.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The system's clock, as fine as the system counts.
class SystemClock final : public Clock {
 public:
  [[nodiscard]] Date now() const override;
};

}  // namespace tilvanego
