#pragma once

#include <coroutine>
#include <exception>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include <tilvanego/async/StopToken.h>
#include <tilvanego/async/Task.h>
#include <tilvanego/facade/FacadeRecords.h>
#include <tilvanego/facade/OperationWaiting.h>
#include <tilvanego/platform/HostCode.h>

/// Makes an operation awaitable.
namespace tilvanego::detail {

/// What the coroutine that awaits an operation shares with its completion, its stop and its time-out. Used on
/// the main thread only.
///
/// With a pending store, the operation's record lives until the coroutine has come back from its resumption.
/// If the coroutine was destroyed before that, the record becomes that of an interrupted operation.
///
/// The completion's last copy tells of its end. So the operation is the one in the slot from the end of its
/// start until it is `over_`: the completion was called, or was destroyed by whoever cancelled it.
template <typename Operation>
class AwaitedOperation : public std::enable_shared_from_this<AwaitedOperation<Operation>> {
 public:
  using Result = typename Operation::Result;

  explicit AwaitedOperation(std::shared_ptr<Facade> facade) : facade_(std::move(facade)) {}

  /// Starts the operation. `waiting` goes on in a later turn of the main queue, when it is over.
  template <typename... Launch>
  void start(std::coroutine_handle<> waiting, typename Operation::Request request, Launch... launch) {
    // The host's code may destroy the coroutine within the start, and with it its pointer to this.
    const auto self = this->shared_from_this();
    waiting_ = waiting;
    try {
      facade_->start<Operation>(std::move(request), completion(), std::move(launch)...);
    } catch (...) {
      waiting_ = nullptr;
      throw;
    }
    started_ = true;
    if (failure_ && !over_) facade_->cancel<Operation>();
  }

  /// Lets the coroutine throw `failure` in a later turn of the main queue. The operation isn't started.
  void refuse(std::coroutine_handle<> waiting, std::exception_ptr failure) {
    waiting_ = waiting;
    failure_ = std::move(failure);
    over_ = true;
    goOn();
  }

  /// Cancels the operation and lets the coroutine throw `failure`, unless it is over or was stopped before.
  void stop(std::exception_ptr failure) {
    if (over_ || failure_) return;
    failure_ = std::move(failure);
    if (started_) facade_->cancel<Operation>();
  }

  /// The coroutine is destroyed.
  void drop() {
    waiting_ = nullptr;
    stop(cancelled());
  }

  /// A result that came is never lost: it counts more than a stop.
  Result take() {
    if (!result_) std::rethrow_exception(failure_);
    return *std::move(result_);
  }

  [[nodiscard]] static std::exception_ptr cancelled() {
    return std::make_exception_ptr(
        CancellationError("cancelled while it was awaited; the payment application was not told"));
  }

 private:
  Completion<Operation> completion() {
    std::shared_ptr<void> end(nullptr, [self = this->shared_from_this()](void*) { self->destroyed(); });
    return [self = this->shared_from_this(), end = std::move(end)](const Result& result) {
      self->finish(result);
    };
  }

  void finish(const Result& result) {
    // It lives until the coroutine has the result.
    record_ = facade_->takeEndingRecord();
    over_ = true;
    try {
      result_ = result;
    } catch (...) {
      failure_ = std::current_exception();
    }
    goOn();
  }

  void destroyed() {
    if (over_) return;
    over_ = true;
    if (!failure_) failure_ = cancelled();
    goOn();
  }

  void goOn() {
    postOrEnd(facade_->mainQueue(), [self = this->shared_from_this()] { self->resume(); });
  }

  void resume() {
    const auto record = std::exchange(record_, 0);
    const auto waiting = std::exchange(waiting_, nullptr);
    if (!waiting) return facade_->leaveRecord(Operation::kind, record);
    // Also if the coroutine throws: it has run.
    struct RecordEnd {
      ~RecordEnd() { facade.dropRecord(Operation::kind, record); }
      Facade& facade;
      PendingRecords::Id record;
    } const recordEnd{*facade_, record};
    waiting.resume();
  }

  std::shared_ptr<Facade> facade_;
  std::coroutine_handle<> waiting_;
  std::optional<Result> result_;
  std::exception_ptr failure_;
  /// In the pending store; 0 if there is none.
  PendingRecords::Id record_ = 0;
  bool started_ = false;
  bool over_ = false;
};

/// Suspends a coroutine and passes it to `start`.
template <typename Start>
struct Suspension {
  [[nodiscard]] bool await_ready() const noexcept { return false; }
  void await_suspend(std::coroutine_handle<> coroutine) { start(coroutine); }
  void await_resume() const noexcept {}
  Start start;
};

/// Awaits an operation, which starts when the task is awaited. `function` is the public function, for a
/// message.
template <typename Operation, typename... Launch>
Task<typename Operation::Result> awaited(std::shared_ptr<Facade> facade, std::string_view function,
                                         typename Operation::Request request, OperationWaiting waiting,
                                         Launch... launch) {
  using Awaited = AwaitedOperation<Operation>;
  facade->requireMainThread(function);
  const auto operation = std::make_shared<Awaited>(facade);
  struct Dropping {
    ~Dropping() { operation.drop(); }
    Awaited& operation;
  } const dropping{*operation};

  // Any thread may call what this returns. It holds the operation weakly: it may be called much later.
  const auto stopping = [&](auto failure) {
    return [queue = facade->mainQueue(), weak = std::weak_ptr(operation), failure] {
      postOrEnd(queue, [weak, failure] {
        if (const auto stopped = weak.lock()) stopped->stop(failure());
      });
    };
  };
  std::exception_ptr refusal;
  const auto refuseIfStopped = [&] {
    if (waiting.stop().stopRequested()) refusal = std::make_exception_ptr(CancellationError());
  };
  refuseIfStopped();
  if (const auto timeout = waiting.timeout(); timeout && !refusal) {
    try {
      facade->timer().after(*timeout, stopping([timeout = *timeout] {
        return std::make_exception_ptr(OperationTimedOut(Operation::kind, timeout));
      }));
      refuseIfStopped();
    } catch (...) {
      refusal = std::current_exception();
    }
  }
  const StopCallback stop(refusal ? StopToken() : waiting.stop(),
                          stopping([] { return Awaited::cancelled(); }));

  // A variable: in a `co_await` expression, g++ 12 frees fields between braces twice.
  Suspension suspension{[&](std::coroutine_handle<> coroutine) {
    if (refusal) return operation->refuse(coroutine, std::move(refusal));
    operation->start(coroutine, std::move(request), launch...);
  }};
  co_await suspension;
  co_return operation->take();
}

}  // namespace tilvanego::detail
