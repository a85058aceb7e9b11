// Leaves main at a moment that the seed chooses, with openers under way and the main queue in main. Ends with
// 0, or with 3 if the queue's functions are called after its end.

#include <atomic>
#include <cstdlib>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <utility>

#include <unistd.h>

#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/platform/MainQueueAdapter.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>
#include <tilvanego/platform/memory/RecordingDebugOutput.h>

using namespace tilvanego;

namespace {

std::mt19937 randomNumbers;  // NOLINT: the seed comes from the command line.

void work(unsigned most) {
  std::atomic<unsigned> done = 0;
  for (auto left = randomNumbers() % most; left > 0; --left) ++done;
}

// A loop of the host's own, which can tell when it is called though it has ended.
class HostLoop {
 public:
  ~HostLoop() { ended_ = true; }
  void post(std::function<void()> block) {
    if (ended_) _exit(3);
    const std::scoped_lock lock(mutex_);
    blocks_.push_back(std::move(block));
  }
  void runPending() {
    while (const auto block = next()) block();
  }

 private:
  std::function<void()> next() {
    const std::scoped_lock lock(mutex_);
    if (blocks_.empty()) return nullptr;
    auto block = std::move(blocks_.front());
    blocks_.pop_front();
    return block;
  }

  static inline std::atomic<bool> ended_ = false;
  std::mutex mutex_;
  std::deque<std::function<void()>> blocks_;
};

// An object of the host's that uses the library as the process ends, and takes its time.
struct LastWords {
  ~LastWords() {
    TilvaneGo::shared().cancelPendingPayment();
    if (TilvaneGo::shared().isRebootInProgress()) TilvaneGo::shared().cancelPendingReboot();
    work(3'000'000);
  }
};

void use(MainQueue& queue, const std::function<void()>& drain) {
  Platform platform = Platform::standard(queue);
  platform.debugOutput = std::make_unique<RecordingDebugOutput>();
  platform.application = std::make_unique<SpawnedOpener>(
      queue, std::vector<std::string>{randomNumbers() % 2 == 0 ? "true" : "no-such-program-anywhere"});
  TilvaneGo::usePlatform(std::move(platform));
  TilvaneGo& sdk = TilvaneGo::shared();
  const URL callback = URL::parse("shop://done").value();
  for (auto left = 1 + randomNumbers() % 6; left > 0; --left) {
    sdk.startPayment(
        PaymentRequest({.requestId = "A", .amount = 1, .currency = "EUR", .callbackURL = callback}),
        [](const PaymentResult&) {});
    sdk.reboot(RebootRequest({.requestId = "B", .callbackURL = callback}), [](const RebootResult&) {});
    work(300'000);
    if (randomNumbers() % 2 == 0) sdk.cancelPendingPayment();
    if (randomNumbers() % 2 == 0) drain();
  }
  work(1'000'000);
}

}  // namespace

int main(int, char** arguments) {
  randomNumbers.seed(static_cast<unsigned>(std::atoi(arguments[1])));
  static const LastWords lastWords;
  if (randomNumbers() % 3 == 0) {
    const auto loop = std::make_unique<RunLoop>();
    use(*loop, [&] { loop->runPending(); });
    return 0;
  }
  HostLoop loop;
  const std::thread::id mainThread = std::this_thread::get_id();
  const auto queue =
      std::make_unique<MainQueueAdapter>([&](std::function<void()> block) { loop.post(std::move(block)); },
                                         [&] { return std::this_thread::get_id() == mainThread; });
  use(*queue, [&] { loop.runPending(); });
}
