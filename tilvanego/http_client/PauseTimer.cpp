#include <tilvanego/http_client/PauseTimer.h>

#include <utility>

#include <tilvanego/network/curl/ExitGate.h>
#include <tilvanego/platform/HostCode.h>

namespace tilvanego::detail {

const std::shared_ptr<Timer>& PauseTimer::ofProcess() {
  // Never destroyed: a pause may end while the process does.
  static const auto& timer = *new std::shared_ptr<Timer>(std::make_shared<PauseTimer>());
  return timer;
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
