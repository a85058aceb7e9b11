#include <tilvanego/network/curl/SessionTask.h>

#include <utility>

#include <tilvanego/network/curl/SessionLoop.h>
#include <tilvanego/network/curl/Transfer.h>
#include <tilvanego/platform/HostCode.h>

namespace tilvanego::detail {

SessionTask::SessionTask(std::shared_ptr<SessionLoop> loop, std::shared_ptr<const URLRequest> request,
                         DataTaskCompletion completion)
    : loop_(std::move(loop)), request_(std::move(request)), completion_(std::move(completion)) {}

void SessionTask::resume() {
  if ((state_.load() & (resumed | cancelled)) == 0) enter(resumed);
}

void SessionTask::resumeHere() {
  std::uint8_t untouched = 0;
  if (state_.compare_exchange_strong(untouched, resumed | sentHere))
    loop_->callers().send(shared_from_this());
}

void SessionTask::cancel() {
  if ((state_.load() & (cancelled | finished)) == 0) enter(cancelled);
}

// If memory or threads are short, the state is restored, so that the call can be repeated.
void SessionTask::enter(State state) {
  const auto former = state_.fetch_or(state);
  if ((former & (state | cancelled | finished)) != 0) return;
  if ((former & sentHere) != 0) return loop_->callers().wake(*this);
  try {
    loop_->submit(shared_from_this());
  } catch (...) {
    state_.fetch_and(static_cast<std::uint8_t>(~state));
    throw;
  }
}

void SessionTask::goOn() {
  if (isFinished() || goesOn_.exchange(true)) return;
  if ((state_.load() & sentHere) != 0) return loop_->callers().wake(*this);
  loop_->submit(shared_from_this());
}

std::shared_ptr<Progress> SessionTask::progress() const {
  const std::lock_guard held(progressMutex_);
  if (!progress_) {
    progress_ = std::make_shared<Progress>();
    // A weak pointer, because the progress may outlive the task. The cast is valid: no task is a const
    // object.
    std::weak_ptr<SessionTask> task = std::const_pointer_cast<SessionTask>(shared_from_this());
    progress_->setCancellationHandler([task] {
      if (const auto alive = task.lock()) alive->cancel();
    });
    hasProgress_ = true;
  }
  return progress_;
}

void SessionTask::report(std::int64_t completedUnitCount, std::int64_t totalUnitCount) noexcept {
  runListener("an observer of a URL session task's progress",
              [&] { progress()->update(completedUnitCount, totalUnitCount); });
}

// Null if the task has ended before.
DataTaskCompletion SessionTask::takeCompletion() {
  if ((state_.fetch_or(finished) & finished) != 0) return nullptr;
  request_.reset();
  return std::exchange(completion_, nullptr);
}

void SessionTask::finish(Outcome outcome) noexcept {
  const auto completion = takeCompletion();
  if (!completion) return;
  runOnOwnThread("the completion of a URL session task", [&] {
    completion(std::move(outcome.data), std::move(outcome.response), std::move(outcome.error));
  });
}

void SessionTask::finishHere(Outcome&& outcome) {
  const auto completion = takeCompletion();
  if (completion) completion(std::move(outcome.data), std::move(outcome.response), std::move(outcome.error));
}

}  // namespace tilvanego::detail
