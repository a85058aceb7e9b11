#pragma once

#include <coroutine>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include <tilvanego/async/StopToken.h>
#include <tilvanego/async/Task.h>
#include <tilvanego/facade/Facade.h>
#include <tilvanego/facade/OperationWaiting.h>
#include <tilvanego/facade/PendingOf.h>

/// Makes an operation awaitable.
namespace tilvanego::detail {

/// What the coroutine that awaits an operation shares with its completion, its stop and its time-out: all
/// that is the same for each kind. Used on the main thread only.
///
/// With a pending store, the operation's record lives until the coroutine has come back from its resumption.
/// If the coroutine is destroyed before that, the record becomes that of an interrupted operation at once.
///
/// The completion's last copy tells of its end. So the operation is the one in the slot from the end of its
/// start until it is over: the completion was called, or was destroyed by whoever cancelled it.
class AwaitedOperation : public std::enable_shared_from_this<AwaitedOperation> {
 public:
  AwaitedOperation(const AwaitedOperation&) = delete;
  AwaitedOperation& operator=(const AwaitedOperation&) = delete;
  virtual ~AwaitedOperation();

  /// Starts the operation. `waiting` goes on in a later turn of the main queue, when the operation is over.
  void start(std::coroutine_handle<> waiting);
  /// Lets the coroutine throw `failure` in a later turn of the main queue. The operation isn't started.
  void refuse(std::coroutine_handle<> waiting, std::exception_ptr failure);
  /// Cancels the operation and lets the coroutine throw `failure`, unless it is over or was stopped before.
  void stop(std::exception_ptr failure);
  /// The coroutine is destroyed.
  void drop();

  /// Returns a function for any thread: stops the operation in a later turn of the main queue by what
  /// `failure` makes there. It holds the operation weakly, since it may be called much later.
  [[nodiscard]] std::function<void()> stopping(std::function<std::exception_ptr()> failure);
  /// Sets the time-out, if there is one. Returns why the operation can't be started, or null.
  [[nodiscard]] std::exception_ptr setTimeout(const OperationWaiting& waiting);

  [[nodiscard]] static std::exception_ptr cancelled();
  [[nodiscard]] const Facade& facade() const { return *facade_; }

 protected:
  AwaitedOperation(std::shared_ptr<Facade> facade, OperationKind kind);

  /// To be captured by the completion: its last copy tells of the end.
  [[nodiscard]] std::shared_ptr<void> end();
  /// To be called by the completion, with what stores the result.
  void finish(const std::function<void()>& store);
  /// Throws what ended the operation without a result.
  [[noreturn]] void rethrow() const { std::rethrow_exception(failure_); }

 private:
  /// The operation to start, with a completion that calls `finish` and captured `end`.
  [[nodiscard]] virtual std::shared_ptr<Pending> makePending() = 0;
  void cancel() { facade_->cancel(kind_); }
  /// Nobody will have the result.
  void leaveRecord();
  void goOn();
  void resume();

  std::shared_ptr<Facade> facade_;
  OperationKind kind_;
  std::coroutine_handle<> waiting_;
  std::exception_ptr failure_;
  /// In the pending store; 0 if there is none.
  PendingRecords::Id record_ = 0;
  bool started_ = false;
  bool over_ = false;
};

/// An awaited operation of one kind, with its result.
template <OperationKind kind>
class AwaitedResult final : public AwaitedOperation {
 public:
  using Request = typename PendingOf<kind>::Request;
  using Result = typename PendingOf<kind>::Result;

  AwaitedResult(std::shared_ptr<Facade> facade, Request&& request,
                const std::optional<PaymentLaunchTransport>& transport)
      : AwaitedOperation(std::move(facade), kind), request_(std::move(request)), transport_(transport) {}

  /// A result that came is never lost: it counts more than a stop.
  Result take() {
    if (!result_) rethrow();
    return *std::move(result_);
  }

 private:
  std::shared_ptr<Pending> makePending() override {
    return PendingOf<kind>::make(
        std::move(request_),
        // This object lives as long as its end.
        [this, end = end()](const Result& result) { finish([&] { result_.emplace(result); }); }, transport_);
  }

  Request request_;
  std::optional<PaymentLaunchTransport> transport_;
  std::optional<Result> result_;
};

/// Suspends the coroutine that awaits it until the operation is over. It is a variable of that coroutine: if
/// this is destroyed, so is the coroutine.
class Awaiting {
 public:
  /// Sets the time-out and the stop. `function` is the public function, for a message: it must be called on
  /// the main thread.
  Awaiting(std::shared_ptr<AwaitedOperation> operation, std::string_view function,
           const OperationWaiting& waiting);
  ~Awaiting();
  Awaiting(const Awaiting&) = delete;
  Awaiting& operator=(const Awaiting&) = delete;

  [[nodiscard]] bool await_ready() const noexcept { return false; }
  void await_suspend(std::coroutine_handle<> coroutine);
  void await_resume() const noexcept {}

 private:
  /// Drops the operation, also if what follows throws.
  struct Dropping {
    ~Dropping() { operation->drop(); }
    std::shared_ptr<AwaitedOperation> operation;
  };
  Dropping dropping_;
  std::exception_ptr refusal_;
  StopCallback stop_;
};

/// Awaits an operation, which starts when the task is awaited.
template <OperationKind kind>
Task<typename PendingOf<kind>::Result> awaited(std::shared_ptr<AwaitedResult<kind>> operation,
                                               std::string_view function, OperationWaiting waiting) {
  Awaiting awaiting(operation, function, waiting);
  co_await awaiting;
  co_return operation->take();
}

}  // namespace tilvanego::detail
