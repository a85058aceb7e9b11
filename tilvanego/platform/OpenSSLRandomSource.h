#pragma once

#include <tilvanego/platform/RandomSource.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// OpenSSL's random generator, seeded by the system.
class OpenSSLRandomSource final : public RandomSource {
 public:
  [[nodiscard]] bool fill(std::span<std::uint8_t> bytes) override;
};

}  // namespace tilvanego
