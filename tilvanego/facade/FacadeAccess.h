#pragma once

#include <memory>
#include <utility>

#include <tilvanego/facade/TilvaneGoSDK.h>

namespace tilvanego::detail {

/// Makes separate instances of `TilvaneGo`, for tests and rehearsals that must not share that of the process.
struct FacadeAccess {
  struct End {
    void operator()(TilvaneGo* instance) const { delete instance; }
  };
  /// Destroys its instance. Do this on the main thread. Pending operations end without a call of their
  /// completions.
  using Owned = std::unique_ptr<TilvaneGo, End>;

  /// Ends an instance as its destructor does. It then starts nothing and has nothing pending.
  static void end(const TilvaneGo& instance);

  /// Ends the process if a port is missing.
  [[nodiscard]] static Owned make(Platform platform) { return Owned(new TilvaneGo(std::move(platform))); }
};

}  // namespace tilvanego::detail
