#pragma once

#include <tilvanego/platform/Clock.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The system's clock, with the system's resolution.
class SystemClock final : public Clock {
 public:
  [[nodiscard]] Date now() const override;
};

}  // namespace tilvanego
