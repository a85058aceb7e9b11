#include <tilvanego/platform/desktop/SpawnedOpener.h>

#include <chrono>
#include <exception>
#include <future>
#include <optional>
#include <thread>
#include <utility>

#include <sys/types.h>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/SignalsBlocked.h>
#include <tilvanego/platform/desktop/SpawnedProgram.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/Wiping.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

// Any thread may call this. Reports in a later block of the main queue, if opener and queue still exist. The
// handlers stay on the main thread, so that their captures are destroyed there, too.
void report(const WeakMainQueue& mainQueue, std::weak_ptr<OpenRequests> requests, OpenRequests::Id request,
            bool opened) {
  detail::postOrEnd(mainQueue, [requests = std::move(requests), request, opened] {
    if (const auto waiting = requests.lock()) waiting->report(request, opened);
  });
}

// Waits for the end of a program that was just started.
bool hasOpened(pid_t process, std::chrono::milliseconds failsWithin) {
  const auto start = std::chrono::steady_clock::now();
  return detail::waitForSuccess(process) || std::chrono::steady_clock::now() - start >= failsWithin;
}

}  // namespace

SpawnedOpener::SpawnedOpener(MainQueue& mainQueue, std::vector<std::string> command,
                             std::chrono::milliseconds failsWithin)
    : command_(std::move(command)),
      failsWithin_(failsWithin),
      mainQueue_(mainQueue),
      requests_(std::make_shared<OpenRequests>()) {}

void SpawnedOpener::openURL(const URL& url, std::function<void(bool opened)> completionHandler) {
  auto words = command_;
  words.push_back(url.absoluteString());
  const detail::WipedAtEnd wiped(words.back());
  const auto request = requests_->add(url, std::move(completionHandler));
  // A link is never taken for an option of the program.
  if (command_.empty() || words.back().starts_with('-')) return report(mainQueue_, requests_, request, false);

  // The waiting thread is created first: a program is not started if no thread can wait for it. The program
  // is started on this thread, since the host may change the environment on it.
  std::promise<std::optional<pid_t>> started;
  try {
    const detail::SignalsBlocked blocked;
    std::thread([process = started.get_future(), mainQueue = mainQueue_, requests = std::weak_ptr(requests_),
                 request, failsWithin = failsWithin_]() mutable {
      const auto id = process.get();
      report(mainQueue, std::move(requests), request, id && hasOpened(*id, failsWithin));
    }).detach();
  } catch (const std::exception&) {
    return report(mainQueue_, requests_, request, false);
  }
  started.set_value(detail::spawnProgram(words, detail::StandardError::none));
}

}  // namespace tilvanego
