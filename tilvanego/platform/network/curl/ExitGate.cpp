#include <tilvanego/platform/network/curl/ExitGate.h>

#include <tilvanego/platform/network/curl/SessionLoop.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include <pthread.h>

namespace tilvanego::detail {

namespace {

/// For a completion that is running when the exit begins. It may wait for the very thread that exits.
constexpr std::chrono::seconds patienceWithHostCode{1};

thread_local bool isInHostCode = false;

// Never destroyed: threads stand at the gate to the last moment.
std::atomic<ExitGate*> gateOfProcess = nullptr;

}  // namespace

ExitGate& ExitGate::ofProcess() {
  static const bool made = [] {
    gateOfProcess = new ExitGate;
    pthread_atfork(nullptr, nullptr, &replaceInChild);
    return true;
  }();
  static_cast<void>(made);
  return *gateOfProcess;
}

// The parent's gate may be locked by a thread that the child doesn't have.
void ExitGate::replaceInChild() { gateOfProcess = new ExitGate; }

void ExitGate::closeAtExit() { ofProcess().close(); }

// The first thread of a session comes after the initialization of libcurl, which has registered the TLS
// library's handler: handlers run from the last to the first.
void ExitGate::add(SessionLoop& loop) {
  static const bool registered = std::atexit(&closeAtExit) == 0;
  static_cast<void>(registered);
  const std::lock_guard held(mutex_);
  loops_.push_back(&loop);
}

void ExitGate::remove(const SessionLoop& loop) {
  const std::lock_guard held(mutex_);
  std::erase(loops_, &loop);
  changed_.notify_all();
}

bool ExitGate::waitUntilRemoved(const SessionLoop& loop) {
  std::unique_lock lock(mutex_);
  const auto isRemoved = [&] { return std::ranges::find(loops_, &loop) == loops_.end(); };
  changed_.wait(lock, [&] { return closed_ || isRemoved(); });
  return isRemoved();
}

void ExitGate::close() {
  std::unique_lock lock(mutex_);
  closed_ = true;
  for (auto* loop : loops_) loop->wake();
  changed_.notify_all();
  changed_.wait(lock, [this] { return inside_ == 0; });
  const int own = isInHostCode ? 1 : 0;
  changed_.wait_for(lock, patienceWithHostCode, [&] { return inHostCode_ <= own; });
}

void ExitGate::enter() {
  std::unique_lock lock(mutex_);
  if (closed_) waitForEver(lock);
  ++inside_;
}

bool ExitGate::tryToEnter() {
  const std::lock_guard held(mutex_);
  if (closed_) return false;
  ++inside_;
  return true;
}

void ExitGate::leave() {
  const std::lock_guard held(mutex_);
  --inside_;
  if (closed_) changed_.notify_all();
}

void ExitGate::leaveForHostCode() {
  std::unique_lock lock(mutex_);
  --inside_;
  if (closed_) waitForEver(lock);
  ++inHostCode_;
  isInHostCode = true;
}

void ExitGate::comeBackFromHostCode() {
  isInHostCode = false;
  std::unique_lock lock(mutex_);
  --inHostCode_;
  if (closed_) waitForEver(lock);
  ++inside_;
}

void ExitGate::stop() {
  std::unique_lock lock(mutex_);
  --inside_;
  waitForEver(lock);
}

void ExitGate::waitForEver(std::unique_lock<std::mutex>& lock) {
  changed_.notify_all();
  for (;;) changed_.wait(lock);
}

void ExitGate::keep(std::shared_ptr<void> object) {
  const std::lock_guard held(mutex_);
  kept_.push_back(std::move(object));
}

}  // namespace tilvanego::detail
