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
#include <tilvanego/facade/FacadeRecords.h>
#include <tilvanego/facade/OperationWaiting.h>

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

 protected:
  AwaitedOperation(std::shared_ptr<Facade> facade, OperationKind kind);

  [[nodiscard]] Facade& facade() const { return *facade_; }
  /// Runs `start`. `waiting` goes on in a later turn of the main queue, when the operation is over.
  void startWith(std::coroutine_handle<> waiting, const std::function<void()>& start);
  /// To be captured by the completion: its last copy tells of the end.
  [[nodiscard]] std::shared_ptr<void> end();
  /// To be called by the completion, with what stores the result.
  void finish(const std::function<void()>& store);
  /// Throws what ended the operation without a result.
  [[noreturn]] void rethrow() const { std::rethrow_exception(failure_); }

 private:
  virtual void cancel() = 0;
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
template <typename Operation>
class AwaitedResult final : public AwaitedOperation {
 public:
  using Result = typename Operation::Result;

  explicit AwaitedResult(std::shared_ptr<Facade> facade)
      : AwaitedOperation(std::move(facade), Operation::kind) {}

  template <typename... Launch>
  void start(std::coroutine_handle<> waiting, typename Operation::Request& request, const Launch&... launch) {
    startWith(waiting,
              [&] { facade().template start<Operation>(std::move(request), completion(), launch...); });
  }

  /// A result that came is never lost: it counts more than a stop.
  Result take() {
    if (!result_) rethrow();
    return *std::move(result_);
  }

 private:
  Completion<Operation> completion() {
    return [self = this->shared_from_this(), this, end = end()](const Result& result) {
      finish([&] { result_.emplace(result); });
    };
  }
  void cancel() override { facade().template cancel<Operation>(); }

  std::optional<Result> result_;
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
  facade->requireMainThread(function);
  const auto operation = std::make_shared<AwaitedResult<Operation>>(facade);
  struct Dropping {
    ~Dropping() { operation.drop(); }
    AwaitedOperation& operation;
  } const dropping{*operation};
  std::exception_ptr refusal = operation->setTimeout(waiting);
  const StopCallback stop(refusal ? StopToken() : waiting.stop(),
                          operation->stopping(&AwaitedOperation::cancelled));

  // A variable: in a `co_await` expression, g++ 12 frees fields between braces twice.
  Suspension suspension{[&](std::coroutine_handle<> coroutine) {
    if (refusal) return operation->refuse(coroutine, std::move(refusal));
    operation->start(coroutine, request, launch...);
  }};
  co_await suspension;
  co_return operation->take();
}

}  // namespace tilvanego::detail
