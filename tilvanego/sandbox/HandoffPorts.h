#pragma once

#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/Pasteboard.h>
#include <tilvanego/platform/RandomSource.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

/// The system's clock and random source. They live as long as the process.
[[nodiscard]] const Clock& systemClock();
[[nodiscard]] RandomSource& systemRandomSource();

/// The ports that the payment application needs for compressed and sealed requests and responses. It owns
/// none of them: each must live longer than the payment application.
struct HandoffPorts {
  /// The pasteboard that the host uses. Null: nothing can travel by the pasteboard.
  Pasteboard* pasteboard = nullptr;
  /// Dates responses and checks whether a request has expired. Not null. Use the host's clock if that is set
  /// by hand. May throw: the request or the response then fails.
  const Clock* clock = &systemClock();
  /// Makes ids and nonces. Not null. May throw: the response then fails.
  RandomSource* randomSource = &systemRandomSource();
};

}  // namespace sandbox
}  // namespace tilvanego
