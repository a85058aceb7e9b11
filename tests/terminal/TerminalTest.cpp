#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/platform/memory/ManualTimer.h>
#include <tilvanego/platform/memory/MemoryApplication.h>
#include <tilvanego/platform/memory/MemoryPasteboard.h>
#include <tilvanego/values/Amount.h>
#include <tilvanego/values/Literals.h>

#include "apps/terminal/RequestText.h"
#include "apps/terminal/Terminal.h"
#include "tests/support/Test.h"
#include "tests/support/TestHost.h"

using namespace tilvanego;
using sandbox::Outcome;
using sandbox::RehearsalScript;
using terminal::Terminal;

namespace {

class TerminalTest : public testing::Test {
 protected:
  // The link of a payment as a host sends it.
  URL payment(const std::string& id,
              const PaymentLaunchTransport& transport = PaymentLaunchTransport::urlScheme()) {
    host.sdk->cancelPendingPayment();
    host.sdk->startPayment(PaymentRequest({.requestId = id,
                                           .amount = "12.5"_decimal,
                                           .currency = "EUR",
                                           .callbackURL = "till://done"_url,
                                           .credentials = credentials}),
                           transport,
                           [this](const PaymentResult& result) { results.emplace_back(result.name()); });
    return host.application->openedURLs().back();
  }

  // What the desktop would bring back to the host.
  void deliverAll() {
    for (; delivered < application.openedURLs().size(); ++delivered)
      host.sdk->handleCallback(application.openedURLs()[delivered]);
  }

  void play(const std::string& script) { terminal.setScript(RehearsalScript::parse(script).value()); }

  test::TestHost host;
  std::optional<PaymentCredentials> credentials;
  std::vector<std::string> results;
  std::size_t delivered = 0;
  RunLoop loop;
  MemoryApplication application{loop};
  ManualTimer timer;
  int changes = 0;
  Terminal terminal{
      application, timer, {.pasteboard = host.pasteboard, .clock = host.clock.get()}, [this] { ++changes; }};
};

}  // namespace

TEST_F(TerminalTest, APersonDecidesAPaymentOfEachTransportOnce) {
  const std::vector<std::pair<PaymentLaunchTransport, std::string>> transports = {
      {PaymentLaunchTransport::urlScheme(), "In the link"},
      {PaymentLaunchTransport::gzip(), "Compressed in the link"},
      {PaymentLaunchTransport::pasteboard(), "Sealed on the clipboard"}};
  const std::vector<std::pair<Outcome, std::string>> outcomes = {{Outcome::approve, "success"},
                                                                 {Outcome::decline, "declined"},
                                                                 {Outcome::cancel, "cancelled"},
                                                                 {Outcome::fail, "failure"}};
  for (const auto& [transport, arrival] : transports) {
    for (const auto& [outcome, result] : outcomes) {
      SCOPED_TRACE(arrival + ", " + result);
      terminal.receive(payment("A-1", transport));
      // The person copies something else meanwhile.
      host.pasteboard->place({{{"public.text", "mine"}}});
      const std::size_t last = terminal.requests().size() - 1;
      const terminal::Request& request = terminal.requests()[last];
      EXPECT_EQ(terminal::summary(request), "Payment \u00b7 12.50 EUR \u00b7 waits \u00b7 A-1");
      EXPECT_EQ(terminal::arrivalText(request.asked->transport()), arrival);
      EXPECT_EQ(delivered, application.openedURLs().size());
      terminal.decide(last, outcome);
      terminal.decide(last, Outcome::approve);
      EXPECT_EQ(application.openedURLs().size(), delivered + 1) << "a second press is late";
      deliverAll();
      EXPECT_EQ(results, std::vector{result});
      results.clear();
    }
  }
}

TEST_F(TerminalTest, FaultsAreSentencesAndTheRequestStillWaitsWhereItCan) {
  terminal.receive("tilvanego://payment/v1/start?amount=1"_url);
  EXPECT_FALSE(terminal.requests()[0].waits());
  EXPECT_EQ(terminal.requests()[0].fault.back(), '.');
  EXPECT_EQ(terminal::summary(terminal.requests()[0]), "A link that can't be read");

  terminal.receive(payment("A-1"));
  terminal.decide(1, Outcome::tampered);
  EXPECT_TRUE(terminal.requests()[1].waits()) << "a plain answer can't be tampered with";
  EXPECT_EQ(terminal.requests()[1].fault.back(), '.');
  terminal.decide(1, Outcome::approve);
  EXPECT_EQ(terminal.requests()[1].fault, "");
  const int before = changes;
  EXPECT_TRUE(application.reportOldest(false));
  EXPECT_EQ(terminal.requests()[1].fault, "The answer was not opened: does a program handle till:?");
  EXPECT_EQ(changes, before + 1);
}

TEST_F(TerminalTest, SecretsAreHiddenUntilTheyAreAskedFor) {
  credentials = PaymentCredentials({.basicToken = "c2VjcmV0", .accountId = "a", .environment = "prod"});
  terminal.receive(payment("A-1"));
  terminal.decide(0, Outcome::approve);
  const terminal::Request& request = terminal.requests()[0];
  for (const std::string& text :
       {terminal::summary(request), terminal::details(request), terminal::traffic(request, false)}) {
    EXPECT_EQ(text.find("c2VjcmV0"), std::string::npos) << text;
  }
  EXPECT_NE(terminal::traffic(request, true).find("c2VjcmV0"), std::string::npos);
  EXPECT_NE(terminal::traffic(request, true).find(request.callback->absoluteString()), std::string::npos);
}

TEST_F(TerminalTest, AScriptDecidesWhatItsLinesFitAndAPersonTheRest) {
  play(R"({"requestId": "late", "outcome": "decline", "delivery": "late"}
{"requestId": "twice", "outcome": "cancel", "delivery": "twice", "delay": 2}
{"requestId": "lost", "delivery": "never"}
{"requestId": "unused"})");
  const auto count = [this] { return application.openedURLs().size(); };
  terminal.receive(payment("late"));
  EXPECT_EQ(count(), 0U);
  terminal.receive(payment("person"));
  EXPECT_EQ(count(), 1U) << "after the next request, which a person decides";
  EXPECT_TRUE(terminal.requests()[1].waits());
  terminal.receive(payment("twice"));
  EXPECT_EQ(count(), 1U);
  timer.advance(std::chrono::seconds(2));
  EXPECT_EQ(count(), 3U);
  terminal.receive(payment("lost"));
  EXPECT_EQ(count(), 3U);
  EXPECT_EQ(terminal::summary(terminal.requests()[3]),
            "Payment \u00b7 12.50 EUR \u00b7 Approve, by line 3 of the script \u00b7 lost");
  EXPECT_EQ(terminal.scriptNotes().size(), 2U) << "the person's request and the unused line";
  terminal.setScript(std::nullopt);
  terminal.receive(payment("unused"));
  EXPECT_TRUE(terminal.requests()[4].waits());
}

TEST_F(TerminalTest, ForgetsTheOldestOfTooManyRequestsAndDelaysEndWithIt) {
  const URL link = payment("A-1");
  for (std::size_t i = 0; i < Terminal::mostRequests + 2; ++i) terminal.receive(link);
  EXPECT_EQ(terminal.requests().size(), Terminal::mostRequests);
  EXPECT_EQ(terminal.forgotten(), 2U);
  std::optional<Terminal> other(std::in_place, application, timer, sandbox::HandoffPorts{}, [] {});
  other->setScript(RehearsalScript::parse(R"({"delay": 1})").value());
  other->receive(link);
  other.reset();
  timer.advance(std::chrono::seconds(1));
  EXPECT_TRUE(application.openedURLs().empty());
}
