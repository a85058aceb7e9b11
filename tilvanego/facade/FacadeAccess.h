#pragma once

#include <memory>
#include <utility>

#include <tilvanego/facade/TilvaneGoSDK.h>

namespace tilvanego::detail {

/// Makes an instance of its own, for tests and rehearsals that must not share the process's one.
struct FacadeAccess {
  struct End {
    void operator()(TilvaneGo* instance) const { delete instance; }
  };
  /// Ends its instance, on the main thread: what is pending is forgotten, and no completion is called.
  using Owned = std::unique_ptr<TilvaneGo, End>;

  /// Ends the process if a port is missing.
  [[nodiscard]] static Owned make(Platform platform) { return Owned(new TilvaneGo(std::move(platform))); }
};

}  // namespace tilvanego::detail
