// A host on a system for which the library has no adapters: it brings a platform of its own.

#include <csignal>
#include <cstdlib>
#include <memory>
#include <span>

#include <tilvanego/TilvaneGo.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/StandardOutput.h>
#include <tilvanego/platform/memory/MemoryApplication.h>

using namespace tilvanego;

template <typename Type>
concept HasStandard = requires { Type::standard(); };
static_assert(!hasDesktopAdapters && !HasStandard<Platform>);

namespace {

bool pay() {
  RunLoop& loop = RunLoop::main();
  auto application = std::make_unique<MemoryApplication>(loop);
  const MemoryApplication& opened = *application;
  TilvaneGo::usePlatform({.mainQueue = &loop,
                          .clock = std::make_shared<SystemClock>(),
                          .randomSource = std::make_unique<OpenSSLRandomSource>(),
                          .debugOutput = std::make_unique<StandardOutput>(),
                          .pasteboard = nullptr,
                          .application = std::move(application)});
  bool paid = false;
  TilvaneGo::shared().startPayment(
      PaymentRequest({.requestId = "A-1",
                      .amount = 1,
                      .transactionType = PaymentTransactionType::sale,
                      .currency = "EUR",
                      .callbackURL = *URL::parse("shop://done")}),
      [&](const PaymentResult& result) { paid = std::holds_alternative<PaymentResult::Success>(result); });
  return opened.openedURLs().size() == 1 &&
         TilvaneGo::shared().handleCallback(*URL::parse("shop://done?request_id=A-1&status=approved")) &&
         paid;
}

}  // namespace

int main(int count, char**) {
  if (count > 1) return pay() ? 0 : 1;
  std::signal(SIGABRT, [](int) { std::_Exit(0); });
  static_cast<void>(TilvaneGo::shared());
  return 1;
}
