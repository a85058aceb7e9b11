#pragma once

#include <functional>
#include <memory>

#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/platform/OpenRequests.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Opens links by `QDesktopServices`: by the desktop's portal where there is one, else by the handler that is
/// registered for the scheme. A link counts as opened once the desktop has taken it.
///
/// Qt gets a copy of the link, which the library can't wipe. Where Qt starts a program for it, every user of
/// the machine can read it in /proc while that runs (see `SpawnedOpener`).
class QtLinkOpener final : public Application {
 public:
  /// `mainQueue` runs the completion handlers; after its end they are dropped.
  explicit QtLinkOpener(const MainQueue& mainQueue);

  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override;

 private:
  WeakMainQueue mainQueue_;
  std::shared_ptr<OpenRequests> requests_ = std::make_shared<OpenRequests>();
};

}  // namespace tilvanego
