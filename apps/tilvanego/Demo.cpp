#include "Demo.h"

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <tilvanego/facade/OperationFunctions.h>
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

/// The text of a URL with its secrets hidden.
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
    // The platform owns these objects until the process ends.
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

  /// Runs an operation and shows its result. `start` starts it with the completion that it receives. Returns
  /// false if the operation could not be shown completely.
  template <OperationKind kind, typename Start>
  [[nodiscard]] bool show(std::string_view title, std::string_view asks, Start start) {
    terminal_.heading(title);
    terminal_.line("the host asks", asks);
    shown_ = true;
    ended_ = false;
    start([this](const auto& result) { this->showResult(result); });
    loop_.runPending();
    if (!ended_) {
      terminal_.bad("the result", "none: it is pending until a callback comes or the host cancels it");
      (TilvaneGo::shared().*operationFunctions<kind>.cancel)();
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

  template <typename Result>
  void showResult(const Result& result) {
    ended_ = true;
    if (const auto* failure = std::get_if<typename Result::Failure>(&result)) {
      terminal_.bad("the result", "failure, " + std::string(failure->error.name()));
      terminal_.detail(failure->error.errorDescription());
    } else {
      terminal_.good("the result", result.name());
    }
    if (const auto response = result.response()) {
      visitRecord(*response,
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
  return demo.show<OperationKind::payment>(
      "A payment by " + transport.text(), "to take " + amount.text() + " EUR",
      [&](auto completion) { TilvaneGo::shared().startPayment(request, transport, completion); });
}

/// An operation that the demo shows.
template <OperationKind kind>
struct Step {
  std::string_view title;
  std::string asks;
  typename OperationRecords<kind>::Request request;
};

/// The step of each operation except the payment. `money` is the amount with its currency.
template <OperationKind kind>
Step<kind> step(const Decimal& amount, const std::string& money) = delete;

template <>
Step<OperationKind::initialization> step(const Decimal& /*amount*/, const std::string& /*money*/) {
  return {"An initialization", "to be made ready",
          InitializationRequest({.requestId = "A-1002",
                                 .callbackURL = callbackURL(),
                                 .sourceApplication = "demo",
                                 .basicToken = "a-secret"})};
}

template <>
Step<OperationKind::transactionList> step(const Decimal& /*amount*/, const std::string& /*money*/) {
  return {"A transaction list", "for the stored transactions",
          TransactionListRequest({.requestId = "A-1003", .callbackURL = callbackURL()})};
}

template <>
Step<OperationKind::fullRefund> step(const Decimal& /*amount*/, const std::string& /*money*/) {
  return {"A full refund", "to refund T-1",
          FullRefundRequest({.requestId = "A-1004",
                             .transactionId = "T-1",
                             .callbackURL = callbackURL(),
                             .credentials = credentials()})};
}

template <>
Step<OperationKind::partialRefund> step(const Decimal& amount, const std::string& money) {
  return {"A partial refund", "to refund " + money + " of T-1",
          PartialRefundRequest({.requestId = "A-1005",
                                .transactionId = "T-1",
                                .amount = amount,
                                .callbackURL = callbackURL(),
                                .credentials = credentials()})};
}

template <>
Step<OperationKind::capture> step(const Decimal& amount, const std::string& money) {
  return {"A capture", "to capture " + money + " of T-2",
          CaptureRequest({.requestId = "A-1006",
                          .transactionId = "T-2",
                          .amount = amount.text(),
                          .callbackURL = callbackURL()})};
}

template <>
Step<OperationKind::clearData> step(const Decimal& amount, const std::string& /*money*/) {
  return {"Clear data", "for a card's clear data",
          ClearDataRequest({.requestId = "A-1007", .callbackURL = callbackURL(), .amount = amount})};
}

template <>
Step<OperationKind::reboot> step(const Decimal& /*amount*/, const std::string& /*money*/) {
  return {"A reboot", "to restart the card reader",
          RebootRequest({.requestId = "A-1008", .callbackURL = callbackURL()})};
}

template <>
Step<OperationKind::save> step(const Decimal& /*amount*/, const std::string& /*money*/) {
  return {"A save", "to store a card",
          SaveRequest({.requestId = "A-1009", .callbackURL = callbackURL(), .currency = "EUR"})};
}

/// Runs each operation once, except the payment.
bool showOthers(Demo& demo, const Decimal& amount) {
  bool shown = true;
  forEachOperation([&]<OperationKind kind>() {
    if constexpr (kind != OperationKind::payment) {
      const auto& [title, asks, request] = step<kind>(amount, amount.text() + " EUR");
      shown &= demo.show<kind>(title, asks, [&request](auto completion) {
        (TilvaneGo::shared().*operationFunctions<kind>.start)(request, completion);
      });
    }
  });
  return shown;
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
