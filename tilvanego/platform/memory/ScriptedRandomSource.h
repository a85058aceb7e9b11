#pragma once

#include <cstddef>
#include <utility>

#include <tilvanego/platform/RandomSource.h>
#include <tilvanego/values/Bytes.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A random source that gives known bytes, for rehearsals of what random bytes decide and of a source that
/// fails. Never for real payments: the bytes are no secret.
class ScriptedRandomSource final : public RandomSource {
 public:
  /// The bytes to give, in order, across calls. Without any, every call for a byte fails.
  explicit ScriptedRandomSource(Bytes script = {}) : script_(std::move(script)) {}

  /// Fails, and gives none, when fewer bytes are left than are asked for.
  [[nodiscard]] bool fill(std::span<std::uint8_t> bytes) override;

 private:
  Bytes script_;
  std::size_t given_ = 0;
};

}  // namespace tilvanego
