#pragma once

#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/Pasteboard.h>
#include <tilvanego/platform/RandomSource.h>

namespace tilvanego::sandbox {

/// The system's, for as long as the program runs.
[[nodiscard]] const Clock& systemClock();
[[nodiscard]] RandomSource& systemRandomSource();

/// What the payment application asks of the system for requests and answers that don't travel in the items of
/// a URL. Nothing of it is owned, and all of it outlives its use.
struct HandoffPorts {
  /// The pasteboard that the host uses. Null: nothing travels by pasteboard.
  Pasteboard* pasteboard = nullptr;
  /// Dates answers and tells what has expired. Not null; the host's, if that one is set by hand.
  const Clock* clock = &systemClock();
  /// Gives ids and nonces. Not null.
  RandomSource* randomSource = &systemRandomSource();
};

}  // namespace tilvanego::sandbox
