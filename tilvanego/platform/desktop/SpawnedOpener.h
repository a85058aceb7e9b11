#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/platform/OpenRequests.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Opens a link by starting a program with the link as its last argument, never through a shell.
///
/// A link is opened if the program ends with exit status 0. It isn't if the program can't be started, ends
/// with another status or is killed by a signal. Where the host ignores SIGCHLD, or waits for children that
/// aren't its own, the status is lost, and a program that was started counts as having opened the link:
/// taking an open payment for a refused one would invite a second one. For the same reason an open request
/// that a newer one of the same target has overtaken counts as opened, as `OpenRequests` says.
///
/// While the program runs, its arguments can be read by every user of the machine, in /proc/PID/cmdline, and
/// so can a token in an inline or compressed link. A payment by pasteboard shows ids alone; for the other
/// operations mount /proc with hidepid, or give the library an `Application` that hands links over otherwise.
///
/// The program gets the host's environment and working directory, an empty standard input, no standard output
/// (hosts print there what others read), the host's standard error and no other descriptor, no blocked signal
/// and no changed signal disposition. A thread of its own waits for each program and leaves no zombie; the
/// main thread doesn't wait.
///
/// Made, used and destroyed on the main thread. Destroying it, or leaving `main`, with programs still running
/// is safe: they go on, and the handlers of their open requests are dropped uncalled.
class SpawnedOpener final : public Application {
 public:
  /// `command` is a program, looked up in PATH if it has no slash, and its leading arguments. `mainQueue`
  /// runs the completion handlers; what comes once it has ended is dropped.
  explicit SpawnedOpener(MainQueue& mainQueue, std::vector<std::string> command = {"xdg-open"});
  SpawnedOpener(const SpawnedOpener&) = delete;
  SpawnedOpener& operator=(const SpawnedOpener&) = delete;

  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override;

 private:
  std::vector<std::string> command_;
  WeakMainQueue mainQueue_;
  /// Shared with nobody for longer than an answer takes: threads that wait hold it weakly.
  std::shared_ptr<OpenRequests> requests_;
};

}  // namespace tilvanego
