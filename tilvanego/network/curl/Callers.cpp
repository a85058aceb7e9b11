#include <tilvanego/network/curl/Callers.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

#include <tilvanego/platform/HostCode.h>

namespace tilvanego::detail {

using Code = TransportError::Code;

/// Takes a call off the list of calls at its end.
class Callers::Registration {
 public:
  Registration(Callers& callers, Call& call) : callers_(callers), call_(call) {}
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;
  ~Registration() {
    if (!call_.isListed) return;
    {
      const std::lock_guard held(callers_.mutex_);
      if (call_.next) call_.next->previous = call_.previous;
      (call_.previous ? call_.previous->next : callers_.calls_) = call_.next;
      callers_.count(-1);
    }
    if (callers_.closed_) callers_.gate_.notify();
  }

 private:
  Callers& callers_;
  Call& call_;
};

// In a forked child the mutex may be locked for ever.
void Callers::send(const std::shared_ptr<SessionTask>& task) {
  if (!gate_.isOfProcess()) {
    return task->finishHere(
        Outcome::failed(Code::cancelled, "the session belongs to the process that this one was forked from"));
  }
  Call call{*task};
  const Registration registered(*this, call);
  auto refused = enter(call);
  if (refused && !gate_.enterUnlessExiting(nullptr)) return complete(*task, *std::move(refused));
  auto* const multi = refused ? nullptr : call.lane->multi();
  auto outcome = refused ? *std::move(refused) : call.lane->send(task, closed_);
  if (call.lane) giveBack(call);
  gate_.leaveWith(multi, [&] { complete(*task, std::move(outcome)); });
}

// Called with the mutex locked.
void Callers::count(int change) {
  callCount_.store(callCount_.load(std::memory_order_relaxed) + change, std::memory_order_release);
}

void Callers::complete(SessionTask& task, Outcome&& outcome) {
  if (settings_.delegate) {
    runListener("URLSessionDelegate::didEndTask", [&] { settings_.delegate->didEndTask(task); });
  }
  task.finishHere(std::move(outcome));
}

// Adds the call to the list, takes a lane and enters the gate. Returns an outcome if the call ends before.
std::optional<Outcome> Callers::enter(Call& call) try {
  if (auto refused = takeLane(call)) return refused;
  try {
    if (gate_.enterUnlessExiting(call.lane->multi())) return std::nullopt;
  } catch (const std::bad_alloc&) {
    giveBack(call);
    throw;
  }
  giveBack(call);
  return Outcome::failed(Code::cancelled, "the process exits");
} catch (const std::bad_alloc&) {
  return Outcome::outOfMemory();
}

bool Callers::isLaneFree() const {
  const int most = settings_.configuration.maximumConnectionsPerHost;
  return most <= 0 || busy_ < most;
}

std::optional<Outcome> Callers::takeLane(Call& call) {
  std::unique_lock lock(mutex_);
  call.next = calls_;
  if (call.next) call.next->previous = &call;
  calls_ = &call;
  call.isListed = true;
  count(1);
  if (!isLaneFree()) {
    const auto isOver = [&] { return closed_ || call.task.isCancelled() || isLaneFree(); };
    const auto limit = timeoutOf(call.task.request());
    ++waiting_;
    const bool inTime = changed_.wait_until(lock, std::chrono::steady_clock::now() + limit, isOver);
    --waiting_;
    if (!inTime) {
      return Outcome::failed(Code::timedOut, "no connection was free for the request's timeout interval");
    }
  }
  if (closed_) return Outcome::failed(Code::cancelled, "the session has ended");
  if (call.task.isCancelled()) return Outcome::failed(Code::cancelled, "the task was cancelled");
  if (idle_.empty()) {
    lanes_.push_back(std::make_unique<Lane>(settings_, share_));
    idle_.reserve(lanes_.capacity());
    idle_.push_back(lanes_.back().get());
  }
  call.lane = idle_.back();
  idle_.pop_back();
  ++busy_;
  return std::nullopt;
}

void Callers::giveBack(Call& call) {
  const std::lock_guard held(mutex_);
  idle_.push_back(std::exchange(call.lane, nullptr));
  --busy_;
  // Each waits for another reason to end, too.
  if (waiting_ > 0) changed_.notify_all();
}

void Callers::wake(const SessionTask& task) {
  const std::lock_guard held(mutex_);
  for (const auto* call = calls_; call; call = call->next) {
    if (&call->task != &task) continue;
    if (call->lane) call->lane->wake();
    if (waiting_ > 0) changed_.notify_all();
  }
}

void Callers::close() {
  int own = 0;
  {
    const std::lock_guard held(mutex_);
    closed_ = true;
    for (const auto* call = calls_; call; call = call->next) {
      if (call->thread == std::this_thread::get_id()) ++own;
      if (call->lane) call->lane->wake();
    }
    changed_.notify_all();
  }
  gate_.waitUnlessClosed([&] { return callCount_ <= own; });
}

}  // namespace tilvanego::detail
