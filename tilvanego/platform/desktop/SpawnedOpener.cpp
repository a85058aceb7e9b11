#include <tilvanego/platform/desktop/SpawnedOpener.h>

#include <csignal>
#include <exception>
#include <future>
#include <optional>
#include <thread>
#include <utility>

#include <pthread.h>
#include <sys/types.h>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/desktop/SpawnedProgram.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/Wiping.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

// Blocks every signal for the calling thread while one of these lives: a thread made meanwhile inherits that,
// and never takes a signal that the host means to handle elsewhere.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

// Any thread. The answer is given in a later turn of the main queue, if opener and queue live so long: the
// handlers stay on the main thread, so that what they hold is released there, too.
void report(const WeakMainQueue& mainQueue, std::weak_ptr<OpenRequests> requests, OpenRequests::Id request,
            bool opened) {
  detail::postOrEnd(mainQueue, [requests = std::move(requests), request, opened] {
    if (const auto waiting = requests.lock()) waiting->answer(request, opened);
  });
}

}  // namespace

SpawnedOpener::SpawnedOpener(MainQueue& mainQueue, std::vector<std::string> command)
    : command_(std::move(command)), mainQueue_(mainQueue), requests_(std::make_shared<OpenRequests>()) {}

void SpawnedOpener::openURL(const URL& url, std::function<void(bool opened)> completionHandler) {
  auto words = command_;
  words.push_back(url.absoluteString());
  const detail::WipedAtEnd wiped(words.back());
  const auto request = requests_->add(url, std::move(completionHandler));
  // A link is never taken for an option of the program.
  if (command_.empty() || words.back().starts_with('-')) return report(mainQueue_, requests_, request, false);

  // The thread that waits comes first: a program that nobody could wait for isn't started at all. The program
  // is started on this thread, the only one that may read an environment which the host changes here.
  std::promise<std::optional<pid_t>> started;
  try {
    const SignalsBlocked blocked;
    std::thread([process = started.get_future(), mainQueue = mainQueue_, requests = std::weak_ptr(requests_),
                 request]() mutable {
      const auto id = process.get();
      report(mainQueue, std::move(requests), request, id && detail::waitForSuccess(*id));
    }).detach();
  } catch (const std::exception&) {
    return report(mainQueue_, requests_, request, false);
  }
  started.set_value(detail::spawnProgram(words));
}

}  // namespace tilvanego
