#include <tilvanego/network/Progress.h>

#include <algorithm>
#include <utility>

#include <tilvanego/platform/HostCode.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

void runHandler(const std::function<void()>& handler) {
  if (handler) detail::runListener("the cancellation handler of a Progress", handler);
}

}  // namespace

std::int64_t Progress::totalUnitCount() const {
  const std::lock_guard held(mutex_);
  return total_;
}

std::int64_t Progress::completedUnitCount() const {
  const std::lock_guard held(mutex_);
  return completed_;
}

double Progress::fractionCompleted() const {
  const std::lock_guard held(mutex_);
  if (total_ <= 0) return 0;
  return std::clamp(static_cast<double>(completed_) / static_cast<double>(total_), 0.0, 1.0);
}

bool Progress::isFinished() const {
  const std::lock_guard held(mutex_);
  return total_ >= 0 && completed_ >= total_;
}

bool Progress::isCancelled() const {
  const std::lock_guard held(mutex_);
  return cancelled_;
}

void Progress::cancel() {
  std::function<void()> handler;
  {
    const std::lock_guard held(mutex_);
    if (std::exchange(cancelled_, true)) return;
    handler.swap(cancellationHandler_);
  }
  runHandler(handler);
  notify();
}

int Progress::addObserver(std::function<void(const Progress&)> observer) {
  auto shared = std::make_shared<const std::function<void(const Progress&)>>(std::move(observer));
  std::shared_ptr<const Observers> former;  // destroyed after the lock is released
  const std::lock_guard held(mutex_);
  auto changed = observers_ ? std::make_shared<Observers>(*observers_) : std::make_shared<Observers>();
  changed->emplace(nextObserver_, std::move(shared));
  former = std::exchange(observers_, std::move(changed));
  return nextObserver_++;
}

void Progress::removeObserver(int number) {
  std::shared_ptr<const Observers> former;  // destroyed after the lock is released
  const std::lock_guard held(mutex_);
  if (!observers_) return;
  auto changed = std::make_shared<Observers>(*observers_);
  changed->erase(number);
  former = std::exchange(observers_, std::move(changed));
}

void Progress::setCancellationHandler(std::function<void()> handler) {
  {
    const std::lock_guard held(mutex_);
    // Swapped, so that the former handler is destroyed without the lock.
    if (!cancelled_) return cancellationHandler_.swap(handler);
  }
  runHandler(handler);
}

void Progress::update(std::int64_t completedUnitCount, std::int64_t totalUnitCount) {
  {
    const std::lock_guard held(mutex_);
    if (completed_ == completedUnitCount && total_ == totalUnitCount) return;
    completed_ = completedUnitCount;
    total_ = totalUnitCount;
  }
  notify();
}

void Progress::notify() const {
  std::shared_ptr<const Observers> observers;
  {
    const std::lock_guard held(mutex_);
    observers = observers_;
  }
  if (!observers) return;
  for (const auto& [number, observer] : *observers) {
    if (*observer) detail::runListener("an observer of a Progress", [&] { (*observer)(*this); });
  }
}

}  // namespace tilvanego
