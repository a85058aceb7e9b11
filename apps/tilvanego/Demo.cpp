#include "Demo.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/frame/SecretNames.h>
#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/platform/memory/MemoryPasteboard.h>
#include <tilvanego/platform/memory/RecordingDebugOutput.h>
#include <tilvanego/sandbox/SandboxApplication.h>

#include "ResponseFields.h"

namespace tilvanego::program {
namespace {

using sandbox::SandboxApplication;
using sandbox::SandboxError;

/// A URL without what a bystander at the terminal mustn't read.
std::string withoutSecrets(const URL& url) {
  auto items = url.queryItems();
  if (!items) return url.absoluteString();
  for (QueryItem& item : *items) {
    if (isSecretName(item.name)) item.value = "hidden";
  }
  const auto shown = url.replacingQueryItems(*items);
  return shown ? shown->absoluteString() : "(too long to show)";
}

/// A host in memory with its payment application.
class Demo {
 public:
  Demo(std::optional<sandbox::Outcome> outcome, Terminal& terminal) : terminal_(terminal) {
    const auto clock = std::make_shared<const SystemClock>();
    auto randomSource = std::make_unique<OpenSSLRandomSource>();
    auto pasteboard = std::make_unique<MemoryPasteboard>(clock);
    // The platform keeps all of it as long as the process.
    auto application = std::make_unique<SandboxApplication>(
        loop_, [this](const URL& url) { receive(url); },
        sandbox::HandoffPorts{
            .pasteboard = pasteboard.get(), .clock = clock.get(), .randomSource = randomSource.get()});
    application->setOutcome(outcome);
    application->setObserver([this](const URL& link, const auto& handled) { showHandled(link, handled); });
    TilvaneGo::usePlatform({
        .mainQueue = &loop_,
        .clock = clock,
        .randomSource = std::move(randomSource),
        .debugOutput = std::make_unique<RecordingDebugOutput>(),
        .pasteboard = std::move(pasteboard),
        .application = std::move(application),
    });
  }

  /// Starts an operation by its public functions and shows how it ends. `choices` are what its start takes
  /// beside the request. False if it can't be shown to its end.
  template <auto Start, auto Cancel, class Request, class... Choices>
  [[nodiscard]] bool show(std::string_view title, std::string_view asks, const Request& request,
                          const Choices&... choices) {
    terminal_.heading(title);
    terminal_.line("the host asks", asks);
    shown_ = true;
    ended_ = false;
    TilvaneGo& sdk = TilvaneGo::shared();
    (sdk.*Start)(request, choices..., [this](const auto& result) { this->showResult(result); });
    loop_.runPending();
    if (!ended_) {
      terminal_.bad("the result", "none: it is pending until a callback comes or the host cancels it");
      (sdk.*Cancel)();
    }
    terminal_.gap();
    return shown_;
  }

 private:
  void showHandled(const URL& link, const std::expected<SandboxApplication::Handled, SandboxError>& handled) {
    terminal_.line("the link", withoutSecrets(link));
    if (!handled) {
      terminal_.bad("the app answers", "nothing: " + handled.error().message);
      shown_ = false;
      return;
    }
    terminal_.line("the app decides", rawText(handled->outcome));
    terminal_.line("the app answers", handled->callback ? withoutSecrets(*handled->callback) : "nothing");
  }

  void receive(const URL& callback) {
    if (!TilvaneGo::shared().handleCallback(callback)) shown_ = false;
  }

  template <class Result>
  void showResult(const Result& result) {
    ended_ = true;
    if (const auto* failure = std::get_if<typename Result::Failure>(&result)) {
      terminal_.bad("the result", "failure, " + std::string(failure->error.name()));
      terminal_.detail(failure->error.errorDescription());
    } else {
      terminal_.good("the result", result.name());
    }
    if (const auto response = result.response()) {
      visitFields(*response,
                  [this](std::string_view name, const auto& value) { this->showField(name, value); });
    }
  }

  void showField(std::string_view name, const std::optional<std::string>& value) {
    if (value) terminal_.detail(std::string(name) + ": " + (isSecretName(name) ? "hidden" : *value));
  }
  void showField(std::string_view name, const std::optional<std::int64_t>& value) {
    if (value) terminal_.detail(std::string(name) + ": " + std::to_string(*value));
  }
  void showField(std::string_view /*the callback has been shown*/, const URL& /*url*/) {}
  void showField(std::string_view name, const std::vector<TilvaneGoTransaction>& transactions) {
    for (const TilvaneGoTransaction& one : transactions) {
      terminal_.detail(std::string(name) + ": " + one.id() + ", " + one.totalAmount().text() + " " +
                       one.transactionDetails.cardLabel());
    }
  }

  Terminal& terminal_;
  RunLoop& loop_ = RunLoop::main();
  bool ended_ = false;
  bool shown_ = true;
};

const URL& callbackURL() {
  static const URL url = *URL::parse("myshop://done");
  return url;
}

PaymentCredentials credentials() {
  return PaymentCredentials({.basicToken = "a-secret", .accountId = "shop-1", .environment = "CERT"});
}

bool showPayment(Demo& demo, const Decimal& amount, const PaymentLaunchTransport& transport) {
  const PaymentRequest request({.requestId = "A-1001",
                                .amount = amount,
                                .transactionType = PaymentTransactionType::sale,
                                .currency = "EUR",
                                .callbackURL = callbackURL(),
                                .customId = "table 7",
                                .credentials = credentials()});
  constexpr void (TilvaneGo::*start)(PaymentRequest, const PaymentLaunchTransport&,
                                     TilvaneGo::PaymentCompletion) = &TilvaneGo::startPayment;
  return demo.show<start, &TilvaneGo::cancelPendingPayment>(
      "A payment by " + transport.text(), "to take " + amount.text() + " EUR", request, transport);
}

/// Each operation but the payment, once.
bool showOthers(Demo& demo, const Decimal& amount) {
  using Sdk = TilvaneGo;
  const std::string money = amount.text() + " EUR";
  const InitializationRequest initialization({.requestId = "A-1002",
                                              .callbackURL = callbackURL(),
                                              .sourceApplication = "demo",
                                              .basicToken = "a-secret"});
  const TransactionListRequest list({.requestId = "A-1003", .callbackURL = callbackURL()});
  const FullRefundRequest fullRefund({.requestId = "A-1004",
                                      .transactionId = "T-1",
                                      .callbackURL = callbackURL(),
                                      .credentials = credentials()});
  const PartialRefundRequest partialRefund({.requestId = "A-1005",
                                            .transactionId = "T-1",
                                            .amount = amount,
                                            .callbackURL = callbackURL(),
                                            .credentials = credentials()});
  const CaptureRequest capture(
      {.requestId = "A-1006", .transactionId = "T-2", .amount = amount.text(), .callbackURL = callbackURL()});
  const ClearDataRequest clearData({.requestId = "A-1007", .callbackURL = callbackURL(), .amount = amount});
  const RebootRequest reboot({.requestId = "A-1008", .callbackURL = callbackURL()});
  const SaveRequest save({.requestId = "A-1009", .callbackURL = callbackURL(), .currency = "EUR"});
  const std::array shown{
      demo.show<&Sdk::initialize, &Sdk::cancelPendingInitialization>("An initialization", "to be made ready",
                                                                     initialization),
      demo.show<&Sdk::getTransactionList, &Sdk::cancelPendingTransactionList>(
          "A transaction list", "for the stored transactions", list),
      demo.show<&Sdk::fullRefund, &Sdk::cancelPendingFullRefund>("A full refund", "to refund T-1",
                                                                 fullRefund),
      demo.show<&Sdk::partialRefund, &Sdk::cancelPendingPartialRefund>(
          "A partial refund", "to refund " + money + " of T-1", partialRefund),
      demo.show<&Sdk::capture, &Sdk::cancelPendingCapture>("A capture", "to capture " + money + " of T-2",
                                                           capture),
      demo.show<&Sdk::clearData, &Sdk::cancelPendingClearData>("Clear data", "for a card's clear data",
                                                               clearData),
      demo.show<&Sdk::reboot, &Sdk::cancelPendingReboot>("A reboot", "to restart the card reader", reboot),
      demo.show<&Sdk::save, &Sdk::cancelPendingSave>("A save", "to store a card", save),
  };
  return std::ranges::all_of(shown, std::identity());
}

}  // namespace

bool runDemo(const DemoOptions& options, Terminal& terminal) {
  Demo demo(options.outcome, terminal);
  bool shown = true;
  for (const auto& transport : options.transports) shown &= showPayment(demo, options.amount, transport);
  if (options.otherOperations) shown &= showOthers(demo, options.amount);
  return shown;
}

}  // namespace tilvanego::program
