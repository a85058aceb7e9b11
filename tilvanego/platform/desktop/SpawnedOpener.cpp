#include <tilvanego/platform/desktop/SpawnedOpener.h>

#include <csignal>
#include <cstdint>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include <pthread.h>
#include <sys/types.h>

#include <tilvanego/platform/desktop/SpawnedProgram.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego {

// The open requests that wait for their programs. Shared with the threads that wait, which outlive the opener
// where programs do. The handlers stay on the main thread, so that what they hold is released there, too.
class SpawnedOpener::Requests : public std::enable_shared_from_this<Requests> {
 public:
  explicit Requests(MainQueue& mainQueue) : mainQueue_(&mainQueue) {}

  // Main thread.
  std::uint64_t add(std::function<void(bool)> handler) {
    handlers_.emplace(++last_, std::move(handler));
    return last_;
  }

  // Main thread. Nothing reaches the main queue or a handler afterwards.
  void close() {
    {
      const std::scoped_lock lock(mutex_);
      mainQueue_ = nullptr;
    }
    // What a handler holds may, as it is released, end in here again.
    const auto dropped = std::exchange(handlers_, {});
  }

  // Any thread. The handler runs in a later turn of the main queue.
  void report(std::uint64_t request, bool opened) {
    const std::scoped_lock lock(mutex_);
    if (!mainQueue_) return;
    mainQueue_->post([self = shared_from_this(), request, opened] { self->finish(request, opened); });
  }

 private:
  void finish(std::uint64_t request, bool opened) {
    const auto entry = handlers_.extract(request);
    if (entry) entry.mapped()(opened);
  }

  std::mutex mutex_;
  MainQueue* mainQueue_;
  std::uint64_t last_ = 0;
  std::map<std::uint64_t, std::function<void(bool)>> handlers_;
};

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

}  // namespace

SpawnedOpener::SpawnedOpener(MainQueue& mainQueue, std::vector<std::string> command)
    : command_(std::move(command)), requests_(std::make_shared<Requests>(mainQueue)) {}

SpawnedOpener::~SpawnedOpener() { requests_->close(); }

void SpawnedOpener::openURL(const URL& url, std::function<void(bool opened)> completionHandler) {
  const auto request = requests_->add(std::move(completionHandler));
  // A link is never taken for an option of the program.
  if (command_.empty() || url.absoluteString().starts_with('-')) return requests_->report(request, false);

  // The thread that waits comes first: a program that nobody could wait for isn't started at all. The program
  // is started on this thread, the only one that may read an environment which the host changes here.
  auto words = command_;
  // The link may hold a token.
  const detail::WipedAtEnd wiped(words.emplace_back(url.absoluteString()));
  std::promise<std::optional<pid_t>> started;
  try {
    const SignalsBlocked blocked;
    std::thread([process = started.get_future(), requests = requests_, request]() mutable {
      const auto id = process.get();
      requests->report(request, id && detail::waitForSuccess(*id));
    }).detach();
  } catch (const std::system_error&) {
    return requests_->report(request, false);
  }
  started.set_value(detail::spawnProgram(words));
}

}  // namespace tilvanego
