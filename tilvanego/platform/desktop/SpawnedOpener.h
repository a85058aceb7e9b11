#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/platform/OpenRequests.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Opens a link: starts a program with the link as its last argument, without a shell.
///
/// A link counts as opened if the program ends with exit status 0. It counts as not opened if the program
/// cannot be started, ends with another status or is killed by a signal. If the host ignores SIGCHLD, or
/// waits for this child itself, the status is lost, and the link counts as opened: if a payment that is under
/// way were reported as failed, the user might pay twice. For the same reason an open request counts as
/// opened if a newer one of the same target has overtaken it (`OpenRequests`).
///
/// While the program runs, every user of the machine can read its arguments in /proc/PID/cmdline, also a
/// token in an inline or compressed link. The link of a payment by pasteboard contains ids only. For other
/// operations mount /proc with hidepid, or use an `Application` that passes links in another way.
///
/// The program inherits the environment, the working directory and standard error, and no other descriptor.
/// Standard input and output are /dev/null. No signal is blocked or has a changed disposition. A separate
/// thread waits for each program, so that it does not become a zombie; the main thread does not wait.
///
/// Must be created, used and destroyed on the main thread. It may be destroyed, and `main` may return, while
/// programs are running: they continue, and the handlers of their open requests are dropped without a call.
class SpawnedOpener final : public Application {
 public:
  /// `command` is a program and its first arguments. The program is searched in PATH if its name has no
  /// slash. `mainQueue` runs the completion handlers; after its end they are dropped.
  explicit SpawnedOpener(MainQueue& mainQueue, std::vector<std::string> command = {"xdg-open"});
  SpawnedOpener(const SpawnedOpener&) = delete;
  SpawnedOpener& operator=(const SpawnedOpener&) = delete;

  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override;

 private:
  std::vector<std::string> command_;
  WeakMainQueue mainQueue_;
  /// The waiting threads hold it weakly.
  std::shared_ptr<OpenRequests> requests_;
};

}  // namespace tilvanego
