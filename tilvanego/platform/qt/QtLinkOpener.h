#pragma once

#include <functional>
#include <memory>

#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/platform/OpenRequests.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Opens links by `QDesktopServices::openUrl`: by a function that the host has registered there for the
/// scheme, by the desktop's portal in a Flatpak or Snap, else by `xdg-open`.
///
/// A link counts as opened once Qt has passed it on. Qt doesn't wait for `xdg-open`, so a scheme without a
/// handler counts as opened, too; `SpawnedOpener` waits and reports it.
///
/// Qt gets copies of the link, which the library can't wipe. While `xdg-open` runs, every user of the machine
/// can read the link in /proc. Qt's messages show "a link" in its place; but `xdg-open` inherits standard
/// error, and writes the link there if nothing handles it. `SpawnedOpener` keeps that back, too.
class QtLinkOpener final : public Application {
 public:
  /// `mainQueue` runs the completion handlers; after its end they are dropped.
  explicit QtLinkOpener(const MainQueue& mainQueue);

  /// Reports a link as not opened where there is no `QGuiApplication`.
  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override;

 private:
  WeakMainQueue mainQueue_;
  std::shared_ptr<OpenRequests> requests_ = std::make_shared<OpenRequests>();
};

}  // namespace tilvanego
