// A till that awaits its operations. `Awaited` makes an operation awaitable, so one coroutine contains the
// whole work of the till: a payment, then its refund. Everything runs on the main thread.

#include <coroutine>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/Sandbox.h>
#include <tilvanego/TilvaneGo.h>
#include <tilvanego/async/Task.h>

using namespace tilvanego;

namespace {

// Awaits the result of one operation. `start` receives the completion for the operation. The coroutine
// resumes inside that completion. The completion of a cancelled operation is never called: after a cancel,
// destroy the task.
template <typename Result>
class Awaited {
 public:
  using Completion = std::function<void(const Result&)>;
  explicit Awaited(std::function<void(Completion)> start) : start_(std::move(start)) {}

  // A refused request completes inside its start: then the coroutine doesn't wait.
  bool await_ready() {
    start_([this](const Result& result) {
      result_ = result;
      if (waiting_) waiting_.resume();
    });
    return result_.has_value();
  }
  void await_suspend(std::coroutine_handle<> waiting) { waiting_ = waiting; }
  Result await_resume() { return *std::move(result_); }

 private:
  std::function<void(Completion)> start_;
  std::optional<Result> result_;
  std::coroutine_handle<> waiting_;
};

// Separate functions make the requests: in a `co_await` expression, g++ 12 frees fields between braces twice.
Awaited<PaymentResult> pay(const std::string& requestId) {
  const PaymentRequest request({.requestId = requestId,
                                .amount = "12.50"_decimal,
                                .currency = "EUR",
                                .callbackURL = "till://payment-done"_url});
  return Awaited<PaymentResult>(
      [request](auto completion) { TilvaneGo::shared().startPayment(request, std::move(completion)); });
}

Awaited<FullRefundResult> refund(const std::string& requestId, const std::string& transactionId) {
  const PaymentCredentials credentials({.basicToken = "secret", .accountId = "ACC-1", .environment = "CERT"});
  const FullRefundRequest request({.requestId = requestId,
                                   .transactionId = transactionId,
                                   .callbackURL = "till://refund-done"_url,
                                   .credentials = credentials});
  return Awaited<FullRefundResult>(
      [request](auto completion) { TilvaneGo::shared().fullRefund(request, std::move(completion)); });
}

// Returns true if the payment and its refund succeeded.
Task<bool> payAndRefund() {
  const PaymentResult paid = co_await pay("A-1001");
  std::cout << "payment: " << paid.name() << '\n';
  const auto* success = std::get_if<PaymentResult::Success>(&paid);
  if (success == nullptr) co_return false;

  const std::string transactionId = success->response.transactionId().value_or("");
  const FullRefundResult refunded = co_await refund("R-1001", transactionId);
  std::cout << "refund: " << refunded.name() << '\n';
  co_return std::holds_alternative<FullRefundResult::Success>(refunded);
}

}  // namespace

int main() {
  Platform platform = Platform::standard();
  platform.application = std::make_unique<sandbox::SandboxApplication>(
      RunLoop::main(), [](const URL& callback) { TilvaneGo::shared().handleCallback(callback); });
  TilvaneGo::usePlatform(std::move(platform));

  // Drains the loop until the coroutine has ended.
  return payAndRefund().wait(RunLoop::main()) ? EXIT_SUCCESS : EXIT_FAILURE;
}
