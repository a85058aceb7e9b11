#include <tilvanego/network/curl/ExitGate.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include <pthread.h>

#include <tilvanego/network/curl/SessionLoop.h>
#include <tilvanego/platform/FatalError.h>

namespace tilvanego::detail {
namespace {

/// The time for a callback that runs when the exit begins. It may be waiting for the thread that exits.
constexpr std::chrono::seconds hostCodeTimeout{1};

/// How many callbacks of the host are running on this thread, one inside the other.
thread_local int callbacksOfThread = 0;

/// Never destroyed: threads wait at the gate until the process ends.
std::atomic<ExitGate*> gateOfProcess = nullptr;

}  // namespace

ExitGate& ExitGate::ofProcess() {
  static const bool made = [] {
    gateOfProcess = new ExitGate;
    pthread_atfork(&holdForFork, &goOnAfterFork, &replaceInChild);
    return true;
  }();
  static_cast<void>(made);
  return *gateOfProcess;
}

// The mutex stays locked during the fork, so that no thread enters.
void ExitGate::holdForFork() {
  auto& gate = ofProcess();
  std::unique_lock lock(gate.mutex_);
  gate.held_ = true;
  gate.barred_ = true;
  gate.wakeAll();
  gate.changed_.wait(lock, [&] { return gate.inside_ == 0; });
  lock.release();
}

void ExitGate::goOnAfterFork() {
  auto& gate = ofProcess();
  gate.held_ = false;
  gate.barred_ = gate.closed_;
  gate.changed_.notify_all();
  gate.mutex_.unlock();
}

// The parent's gate can't be used: its mutex is locked, and its threads don't exist here.
void ExitGate::replaceInChild() { gateOfProcess = new ExitGate; }

void ExitGate::closeAtExit() { ofProcess().close(); }

// The exit runs its handlers in reverse order. libcurl's initialization has registered the TLS library's
// handler before, so this one runs first.
void ExitGate::registerAtExit() {
  static const bool registered = std::atexit(&closeAtExit) == 0;
  static_cast<void>(registered);
}

void ExitGate::wakeAll() {
  for (auto* loop : loops_) loop->wake();
  for (auto* multi : waiting_) curl_multi_wakeup(multi);
}

void ExitGate::add(SessionLoop& loop) {
  registerAtExit();
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
  barred_ = true;
  exitingThread_ = std::this_thread::get_id();
  wakeAll();
  changed_.notify_all();
  changed_.wait(lock, [this] { return inside_ == 0; });
  const int own = callbacksOfThread;
  changed_.wait_for(lock, hostCodeTimeout, [&] { return inHostCode_ <= own; });
}

void ExitGate::enter() {
  std::unique_lock lock(mutex_);
  waitAndEnter(lock);
}

bool ExitGate::tryToEnter() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return closed_ || !held_; });
  if (closed_) return false;
  ++inside_;
  return true;
}

bool ExitGate::enterUnlessExiting(CURLM* waiting) {
  registerAtExit();
  std::unique_lock lock(mutex_);
  if (closed_ && exitingThread_ == std::this_thread::get_id()) return false;
  if (waiting) waiting_.push_back(waiting);
  waitAndEnter(lock);
  return true;
}

void ExitGate::leaveForLastHostCode(CURLM* waiting) {
  std::unique_lock lock(mutex_);
  if (waiting) std::erase(waiting_, waiting);
  leaveForHostCode(lock);
}

// The mutex is locked for ever in a child, and its connections are the parent's.
void ExitGate::requireOwnProcess() const {
  if (isOfProcess()) return;
  detail::wrongUse(
      "A forked child has returned from a callback of its parent's request; in a callback, call only exec or "
      "_exit in the child.");
}

void ExitGate::endHostCode() {
  requireOwnProcess();
  --callbacksOfThread;
  const std::lock_guard held(mutex_);
  --inHostCode_;
  if (barred_) changed_.notify_all();
}

void ExitGate::notify() {
  const std::lock_guard held(mutex_);
  changed_.notify_all();
}

void ExitGate::leave() {
  const std::lock_guard held(mutex_);
  --inside_;
  if (barred_) changed_.notify_all();
}

void ExitGate::leaveForHostCode() {
  std::unique_lock lock(mutex_);
  leaveForHostCode(lock);
}

void ExitGate::leaveForHostCode(std::unique_lock<std::mutex>& lock) {
  --inside_;
  if (closed_) waitAndEnter(lock);
  if (held_) changed_.notify_all();
  ++inHostCode_;
  ++callbacksOfThread;
}

void ExitGate::comeBackFromHostCode() {
  requireOwnProcess();
  --callbacksOfThread;
  std::unique_lock lock(mutex_);
  --inHostCode_;
  waitAndEnter(lock);
}

void ExitGate::stepAside() {
  std::unique_lock lock(mutex_);
  --inside_;
  waitAndEnter(lock);
}

// Never returns once the gate is closed.
void ExitGate::waitAndEnter(std::unique_lock<std::mutex>& lock) {
  if (barred_) changed_.notify_all();
  changed_.wait(lock, [this] { return !barred_; });
  ++inside_;
}

void ExitGate::keep(std::shared_ptr<void> object) {
  const std::lock_guard held(mutex_);
  kept_.push_back(std::move(object));
}

}  // namespace tilvanego::detail
