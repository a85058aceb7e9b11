#include <tilvanego/http_client/PauseTimer.h>

#include <atomic>
#include <memory>
#include <utility>

#include <tilvanego/network/curl/ExitGate.h>
#include <tilvanego/platform/HostCode.h>

namespace tilvanego::detail {

const std::shared_ptr<Timer>& PauseTimer::ofProcess() {
  struct Made {
    const ExitGate* process;
    std::shared_ptr<Timer> timer;
  };
  // Never destroyed: a pause may end while the process does, and in a forked child the thread of the parent's
  // timer doesn't exist.
  static std::atomic<const Made*> current = nullptr;
  const Made* made = current;
  const ExitGate* const process = &ExitGate::ofProcess();
  if (made == nullptr || made->process != process) {
    auto mine = std::make_unique<Made>(process, std::make_shared<PauseTimer>());
    if (current.compare_exchange_strong(made, mine.get())) made = mine.release();
  }
  return made->timer;
}

void PauseTimer::after(std::chrono::milliseconds delay, std::function<void()> block) {
  const std::lock_guard held(mutex_);
  timer_.after(delay, [block = std::move(block)] {
    auto& gate = ExitGate::ofProcess();
    gate.enter();
    gate.runHostCode([&] { runListener("the retry of a request", block); });
    gate.leave();
  });
}

}  // namespace tilvanego::detail
