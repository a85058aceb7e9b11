#pragma once

#include <memory>
#include <utility>

#include <tilvanego/facade/TilvaneGoSDK.h>

namespace tilvanego::detail {

/// Makes an instance of its own, for tests and rehearsals that must not share the process's one.
struct FacadeAccess {
  [[nodiscard]] static std::unique_ptr<TilvaneGo> make(Platform platform) {
    return std::unique_ptr<TilvaneGo>(new TilvaneGo(std::move(platform)));
  }
};

}  // namespace tilvanego::detail
