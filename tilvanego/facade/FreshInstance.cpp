#include <tilvanego/facade/FreshInstance.h>

#include <utility>

#include <tilvanego/facade/FacadeAccess.h>

namespace [[gnu::visibility("default")]] tilvanego {

FreshInstance*& FreshInstance::innermost() {
  static FreshInstance* innermost = nullptr;
  return innermost;
}

void FreshInstance::End::operator()(TilvaneGo* instance) const { detail::FacadeAccess::End()(instance); }

FreshInstance::FreshInstance(Platform platform)
    : instance_(detail::FacadeAccess::make(std::move(platform)).release()),
      outer_(std::exchange(innermost(), this)) {}

FreshInstance::~FreshInstance() {
  end();
  // Not always the innermost: tests may keep theirs in any order.
  FreshInstance** at = &innermost();
  while (*at != this) at = &(*at)->outer_;
  *at = outer_;
}

void FreshInstance::end() const { detail::FacadeAccess::end(*instance_); }

bool FreshInstance::handleCallback(const URL& url) const { return instance_->handleCallback(url); }

}  // namespace tilvanego
