#include <tilvanego/platform/memory/MemoryPendingStore.h>
#include <tilvanego/platform/memory/SilentDebugOutput.h>
#include <tilvanego/sandbox/Response.h>
#include <tilvanego/values/Literals.h>

#include "apps/till/Till.h"
#include "tests/support/Test.h"
#include "tests/support/TestHost.h"

using namespace tilvanego;
using sandbox::LaunchLink;
using sandbox::Outcome;
using till::Entry;
using till::Till;

namespace {

class TillTest : public testing::Test {
 protected:
  TillTest() { restart(); }

  // A new process, which finds what the one before kept.
  void restart() {
    till.reset();
    Platform platform = Platform::standard(host.loop);
    auto memory = std::make_unique<MemoryApplication>(host.loop);
    application = memory.get();
    platform.application = std::move(memory);
    auto clipboard = std::make_unique<MemoryPasteboard>(platform.clock);
    pasteboard = clipboard.get();
    platform.pasteboard = std::move(clipboard);
    platform.pendingStore = std::make_unique<MemoryPendingStore>(records);
    platform.debugOutput = std::make_unique<SilentDebugOutput>();
    sdk = detail::FacadeAccess::make(std::move(platform));
    till.emplace(*sdk, "till", [this] { return "T-" + std::to_string(++ids); }, [this] { ++changes; });
  }

  // The callback of a payment application that has the last link.
  URL answer(Outcome outcome) const {
    const sandbox::HandoffPorts ports{.pasteboard = pasteboard};
    const auto link = LaunchLink::read(application->openedURLs().back(), ports);
    return **respond(link.value(), {.outcome = outcome}, ports);
  }

  static Entry entry(OperationKind kind) {
    return {.kind = kind,
            .amount = "12,50",
            .tip = "1",
            .transactionId = "000000000042",
            .basicToken = "c2VjcmV0",
            .accountId = "shop",
            .environment = "STAGING"};
  }

  test::TestHost host;
  std::shared_ptr<MemoryPendingStore::Records> records = std::make_shared<MemoryPendingStore::Records>();
  MemoryApplication* application = nullptr;
  MemoryPasteboard* pasteboard = nullptr;
  int ids = 0;
  int changes = 0;
  detail::FacadeAccess::Owned sdk;
  std::optional<Till> till;
};

}  // namespace

TEST_F(TillTest, EachOperationGoesOutAndItsResultIsAReceiptWithoutSecrets) {
  for (const OperationKind kind : operationKinds) {
    SCOPED_TRACE(till::operationName(kind));
    till->start(entry(kind));
    EXPECT_EQ(till->fault(), "");
    ASSERT_EQ(till->pending().size(), 1U);
    till->receive(answer(Outcome::approve));
    EXPECT_TRUE(till->pending().empty());
    const till::Receipt& receipt = till->receipts().back();
    EXPECT_TRUE(receipt.title.starts_with(till::operationName(kind) + ": ")) << receipt.title;
    EXPECT_EQ(receipt.title.find("fail"), std::string::npos) << receipt.title;
  }
  EXPECT_EQ(till->receipts().front().title, "Payment: success \u00b7 12.50 EUR");
  EXPECT_FALSE(till->receipts().front().transactionId.empty());
  for (const till::Receipt& receipt : till->receipts()) {
    for (const std::string& line : receipt.lines) EXPECT_EQ(line.find("c2VjcmV0"), std::string::npos) << line;
  }
}

TEST_F(TillTest, PaysByEachTransportAndShowsEachOutcome) {
  for (const auto& transport : {PaymentLaunchTransport::urlScheme(), PaymentLaunchTransport::gzip(),
                                PaymentLaunchTransport::pasteboard(), PaymentLaunchTransport::automatic(1)}) {
    for (const auto& [outcome, result] :
         {std::pair{Outcome::approve, "success"}, std::pair{Outcome::decline, "declined"},
          std::pair{Outcome::cancel, "cancelled"}, std::pair{Outcome::fail, "failure"}}) {
      SCOPED_TRACE(transport.text() + " " + result);
      Entry payment = entry(OperationKind::payment);
      payment.transport = transport;
      till->start(payment);
      till->receive(answer(outcome));
      EXPECT_EQ(till->receipts().back().title, std::string("Payment: ") + result + " \u00b7 12.50 EUR");
    }
  }
}

TEST_F(TillTest, WhatIsWrongIsASentenceAndOpensNothing) {
  const std::string digits = " may have digits, and a point or a comma between them: 12.50.";
  const std::string code = "The currency is no code of three capital letters that has amounts, such as EUR.";
  struct Wrong {
    std::string amount, tip, currency, fault;
  };
  for (const Wrong& one : std::vector<Wrong>{
           {"", "", "EUR", "The amount is missing."},
           {"12,x", "", "EUR", "The amount" + digits},
           {"1.234,50", "", "EUR", "The amount" + digits},
           {"-1", "", "EUR", "The amount" + digits},
           {"1", "+2", "EUR", "The tip" + digits},
           {"1,234", "", "EUR", "The amount has more than the 2 digits after the point that EUR has."},
           {"1.5", "", "JPY", "The amount has more than the 0 digits after the point that JPY has."},
           {std::string(40, '9'), "", "EUR", "The amount has too many digits."},
           {"1", "", "eur", code},
           {"1", "", "XAU", code}}) {
    Entry wrong = entry(OperationKind::payment);
    wrong.amount = one.amount;
    wrong.tip = one.tip;
    wrong.currency = one.currency;
    till->start(wrong);
    EXPECT_EQ(till->fault(), one.fault) << one.amount;
  }
  EXPECT_TRUE(application->openedURLs().empty());
  Entry nothing = entry(OperationKind::payment);
  nothing.amount = "0";
  till->start(nothing);
  host.loop.runPending();
  EXPECT_EQ(till->receipts().back().title, "Payment: failure \u00b7 0.00 EUR");
  EXPECT_FALSE(till->receipts().back().lines.empty()) << "the library says why";

  till->start(entry(OperationKind::payment));
  till->start(entry(OperationKind::payment));
  EXPECT_EQ(till->fault(), "Payment is pending already: wait for its result, or cancel it.");
  till->receive("till://done/elsewhere?status=approved"_url);
  EXPECT_EQ(till->fault(), "A URL came that no pending operation waits for; the log says more.");
  till->cancel(OperationKind::payment);
  EXPECT_TRUE(till->pending().empty());
  EXPECT_EQ(till->fault(), "") << "what was pending is over";
}

TEST_F(TillTest, AfterARestartItResumesWhatWasPendingAlsoIfTheCallbackCameFirst) {
  for (const bool callbackFirst : {false, true}) {
    SCOPED_TRACE(callbackFirst);
    till->start(entry(OperationKind::payment));
    till->start(entry(OperationKind::capture));
    const auto& links = application->openedURLs();
    const sandbox::HandoffPorts none;
    const URL paid = **respond(LaunchLink::read(links[links.size() - 2], none).value(), Outcome::approve);
    const URL captured = **respond(LaunchLink::read(links.back(), none).value(), Outcome::approve);
    restart();
    // The library offers a callback to a capture before a payment.
    if (callbackFirst) till->receive(captured);
    till->resumeInterrupted();
    host.loop.runPending();
    if (!callbackFirst) till->receive(captured);
    till->receive(paid);
    ASSERT_EQ(till->receipts().size(), 2U);
    EXPECT_EQ(till->receipts()[0].title, "Capture: success \u00b7 12.50");
    EXPECT_EQ(till->receipts()[1].title, "Payment: success \u00b7 12.50 EUR");
    EXPECT_TRUE(till->pending().empty());
    EXPECT_TRUE(sdk->interruptedOperations().empty());
  }
}

TEST_F(TillTest, ForgetsTheOldestLinesAndReceipts) {
  for (std::size_t i = 0; i < Till::mostLines + 3; ++i) till->note(std::to_string(i));
  EXPECT_EQ(till->log().size(), Till::mostLines);
  EXPECT_EQ(till->log().front(), "3");
  EXPECT_EQ(till->written(), Till::mostLines + 3);
}
