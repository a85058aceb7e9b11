#pragma once

#include <chrono>
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
/// cannot be started, or ends soon with another status or by a signal: within `failsWithin` after its start.
/// A program that fails later has opened the link: `xdg-open` may run as long as the payment application, and
/// ends with that one's status. If a payment that is under way were reported as failed, the user might pay
/// twice. For the same reason a link counts as opened if the status is lost, since the host ignores SIGCHLD
/// or waits for this child itself, and if a newer request of the same target has overtaken it
/// (`OpenRequests`).
///
/// While the program runs, every user of the machine can read its arguments in /proc/PID/cmdline, also a
/// token in an inline or compressed link. The link of a payment by pasteboard contains ids only. For other
/// operations mount /proc with hidepid, or use an `Application` that passes links in another way.
///
/// The program inherits the environment and the working directory, and no descriptor. Standard input, output
/// and error are /dev/null: `xdg-open` writes the link, with its token, to standard error if nothing handles
/// it. No signal is blocked or has a changed disposition. A separate thread waits for each program, so that
/// it does not become a zombie; the main thread does not wait.
///
/// Must be created, used and destroyed on the main thread. It may be destroyed, and `main` may return, while
/// programs are running: they continue, and the handlers of their open requests are dropped without a call.
class SpawnedOpener final : public Application {
 public:
  /// Long enough for `xdg-open` to find out that nothing handles a link, too short for a payment.
  static constexpr std::chrono::milliseconds usuallyFailsWithin{5000};

  /// `command` is a program and its first arguments. The program is searched in PATH if its name has no
  /// slash. `mainQueue` runs the completion handlers; after its end they are dropped.
  explicit SpawnedOpener(MainQueue& mainQueue, std::vector<std::string> command = {"xdg-open"},
                         std::chrono::milliseconds failsWithin = usuallyFailsWithin);
  SpawnedOpener(const SpawnedOpener&) = delete;
  SpawnedOpener& operator=(const SpawnedOpener&) = delete;

  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override;

 private:
  std::vector<std::string> command_;
  std::chrono::milliseconds failsWithin_;
  WeakMainQueue mainQueue_;
  /// The waiting threads hold it weakly.
  std::shared_ptr<OpenRequests> requests_;
};

}  // namespace tilvanego
