#include <tilvanego/facade/AwaitedOperation.h>

#include <tilvanego/platform/HostCode.h>

namespace tilvanego::detail {

AwaitedOperation::AwaitedOperation(std::shared_ptr<Facade> facade, OperationKind kind)
    : facade_(std::move(facade)), kind_(kind) {}

AwaitedOperation::~AwaitedOperation() = default;

std::exception_ptr AwaitedOperation::cancelled() {
  return std::make_exception_ptr(
      CancellationError("cancelled while it was awaited; the payment application was not told"));
}

void AwaitedOperation::start(std::coroutine_handle<> waiting) {
  // The host's code may destroy the coroutine within the start, and with it its pointer to this.
  const auto self = shared_from_this();
  waiting_ = waiting;
  try {
    facade_->start(makePending());
  } catch (...) {
    waiting_ = nullptr;
    throw;
  }
  started_ = true;
  if (failure_ && !over_) cancel();
}

void AwaitedOperation::refuse(std::coroutine_handle<> waiting, std::exception_ptr failure) {
  waiting_ = waiting;
  failure_ = std::move(failure);
  over_ = true;
  goOn();
}

void AwaitedOperation::stop(std::exception_ptr failure) {
  if (over_ || failure_) return;
  failure_ = std::move(failure);
  if (started_) cancel();
}

void AwaitedOperation::drop() {
  waiting_ = nullptr;
  stop(cancelled());
  leaveRecord();
}

void AwaitedOperation::leaveRecord() { facade_->leaveRecord(kind_, std::exchange(record_, 0)); }

std::function<void()> AwaitedOperation::stopping(std::function<std::exception_ptr()> failure) {
  return [queue = facade_->mainQueue(), weak = weak_from_this(), failure = std::move(failure)] {
    postOrEnd(queue, [weak, failure] {
      if (const auto stopped = weak.lock()) stopped->stop(failure());
    });
  };
}

std::exception_ptr AwaitedOperation::setTimeout(const OperationWaiting& waiting) {
  const auto refusal = [&]() -> std::exception_ptr {
    if (!waiting.stop().stopRequested()) return nullptr;
    return std::make_exception_ptr(CancellationError());
  };
  const auto timeout = waiting.timeout();
  if (auto stopped = refusal(); stopped || !timeout) return stopped;
  try {
    facade_->timer().after(*timeout, stopping([kind = kind_, timeout = *timeout] {
      return std::make_exception_ptr(OperationTimedOut(kind, timeout));
    }));
    return refusal();
  } catch (...) {
    return std::current_exception();
  }
}

std::shared_ptr<void> AwaitedOperation::end() {
  return {nullptr, [self = shared_from_this()](void*) {
            if (self->over_) return;
            self->over_ = true;
            if (!self->failure_) self->failure_ = cancelled();
            self->goOn();
          }};
}

void AwaitedOperation::finish(const std::function<void()>& store) {
  // It lives until the coroutine has the result.
  record_ = facade_->takeEndingRecord(kind_);
  over_ = true;
  if (!waiting_) leaveRecord();
  try {
    store();
  } catch (...) {
    failure_ = std::current_exception();
  }
  goOn();
}

void AwaitedOperation::goOn() {
  postOrEnd(facade_->mainQueue(), [self = shared_from_this()] { self->resume(); });
}

void AwaitedOperation::resume() {
  const auto waiting = std::exchange(waiting_, nullptr);
  if (!waiting) return;
  const auto record = std::exchange(record_, 0);
  facade_->passRecordOn(kind_, record);
  // Also if the coroutine throws: it has run.
  struct RecordEnd {
    ~RecordEnd() { facade.dropRecord(kind, record); }
    Facade& facade;
    OperationKind kind;
    PendingRecords::Id record;
  } const recordEnd{*facade_, kind_, record};
  waiting.resume();
}

Awaiting::Awaiting(std::shared_ptr<AwaitedOperation> operation, std::string_view function,
                   const OperationWaiting& waiting)
    : dropping_{std::move(operation)},
      refusal_((dropping_.operation->facade().requireMainThread(function),
                dropping_.operation->setTimeout(waiting))),
      stop_(refusal_ ? StopToken() : waiting.stop(),
            dropping_.operation->stopping(&AwaitedOperation::cancelled)) {}

Awaiting::~Awaiting() = default;

void Awaiting::await_suspend(std::coroutine_handle<> coroutine) {
  AwaitedOperation& operation = *dropping_.operation;
  if (refusal_) return operation.refuse(coroutine, std::move(refusal_));
  operation.start(coroutine);
}

}  // namespace tilvanego::detail
