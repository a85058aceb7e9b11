// A till with its own event loop: poll(2) on an eventfd. A `MainQueueAdapter` posts the library's blocks to
// that loop, so that every call, completion and log message runs on the till's main thread. A till with the
// loop of a toolkit calls the toolkit's function instead of `TillLoop::post`.

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <functional>
#include <iostream>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <tilvanego/Sandbox.h>
#include <tilvanego/TilvaneGo.h>

using namespace tilvanego;

namespace {

// The till's loop. Any thread may post; the thread that created the loop runs it.
class TillLoop {
 public:
  TillLoop() : wakeUp_(eventfd(0, EFD_CLOEXEC)) {
    if (wakeUp_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  }
  TillLoop(const TillLoop&) = delete;
  TillLoop& operator=(const TillLoop&) = delete;
  ~TillLoop() { close(wakeUp_); }

  void post(std::function<void()> block) {
    const std::lock_guard held(mutex_);
    blocks_.push_back(std::move(block));
    eventfd_write(wakeUp_, 1);
  }
  [[nodiscard]] bool isCurrent() const { return std::this_thread::get_id() == thread_; }
  void stop() { stopped_ = true; }

  void run() {
    while (!stopped_) {
      // A real till also waits for its scanner, drawer and display here.
      pollfd waiting{.fd = wakeUp_, .events = POLLIN, .revents = 0};
      if (poll(&waiting, 1, -1) < 1) continue;
      eventfd_t count = 0;
      eventfd_read(wakeUp_, &count);
      for (auto& block : takeAll()) block();
    }
  }

 private:
  std::deque<std::function<void()>> takeAll() {
    const std::lock_guard held(mutex_);
    return std::exchange(blocks_, {});
  }

  std::mutex mutex_;
  std::deque<std::function<void()>> blocks_;
  const int wakeUp_;
  const std::thread::id thread_ = std::this_thread::get_id();
  bool stopped_ = false;
};

}  // namespace

int main() {
  TillLoop loop;
  // Declared after the loop, so that it is destroyed before the loop.
  MainQueueAdapter mainQueue([&loop](std::function<void()> block) { loop.post(std::move(block)); },
                             [&loop] { return loop.isCurrent(); });
  Platform platform = Platform::standard(mainQueue);
  platform.application = std::make_unique<sandbox::SandboxApplication>(
      mainQueue, [](const URL& callback) { TilvaneGo::shared().handleCallback(callback); });
  TilvaneGo::usePlatform(std::move(platform));

  bool paid = false;
  const PaymentRequest request({.requestId = "A-1001",
                                .amount = "12.50"_decimal,
                                .currency = "EUR",
                                .callbackURL = "till://payment-done"_url});
  TilvaneGo::shared().startPayment(request, [&](const PaymentResult& result) {
    paid = std::holds_alternative<PaymentResult::Success>(result) && loop.isCurrent();
    std::cout << result.name() << '\n';
    loop.stop();
  });
  loop.run();
  return paid ? EXIT_SUCCESS : EXIT_FAILURE;
}
