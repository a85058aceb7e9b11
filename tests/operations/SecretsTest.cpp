#include "tests/support/Kinds.h"
#include "tests/support/Test.h"

namespace tilvanego::test {
namespace {

/// Everything that the library shows or says of itself; not the links that it opens.
std::string shown(const TestHost& host) {
  std::string text;
  for (const std::string& event : host.events) {
    if (!event.starts_with("open ")) text += event + "\n";
  }
  return text;
}

TEST(Secrets, AreShownByNoKindOnItsWayOut) {
  for (const Kind& kind : allKinds()) {
    TestHost host;
    kind.start(host, parsedURL("myshop://done"));
    kind.start(host, parsedURL("myshop://done"));
    host.application->reportOldest(false);
    host.loop.runPending();
    const std::string text = shown(host);
    EXPECT_EQ(text.find(secretToken), std::string::npos) << text;
    // The links themselves show notes in debug lines; the description of a request doesn't.
    EXPECT_EQ(host.events.front().find(secretNotes), std::string::npos) << host.events.front();
  }
}

TEST(Secrets, OfACallbackAreShownByNoKind) {
  const std::string card =
      "?clear_pan=4111222233334444&clearTrack2=4111222233334444%3D2912&basic_token=t0ken";
  // They end in each kind of failure, and in none.
  for (const std::string_view rest :
       {"", "&status=whatever", "&status=success", "&status=masked", "&request_id=other",
        R"(&status=success&transactionList=[{"amount":1,"transactionDetails":"4111222233334444"}])",
        "&status=success&transactionList=4111222233334444"}) {
    for (const Kind& kind : allKinds()) {
      const std::string query = card + std::string(rest);
      TestHost host;
      kind.start(host, parsedURL("myshop://done"));
      EXPECT_FALSE(host.sdk->handleCallback(parsedURL("myshop://elsewhere" + query)));
      EXPECT_TRUE(host.sdk->handleCallback(parsedURL("myshop://done" + query)));
      EXPECT_FALSE(host.sdk->handleCallback(parsedURL("myshop://done" + query)));
      const std::string text = shown(host);
      EXPECT_FALSE(text.contains("4111222233334444")) << kind.name << " " << text;
      EXPECT_FALSE(text.contains(secretToken)) << kind.name << " " << text;
    }
  }
}

template <typename T>
concept Streamable = requires(std::ostream& out, const T& value) { out << value; };

static_assert(!Streamable<ClearDataResponse> && !Streamable<ClearDataResult> &&
              !Streamable<PaymentCredentials> && !Streamable<InitializationRequest> &&
              !Streamable<SaveRequest> && !Streamable<FullRefundRequest> &&
              !Streamable<PartialRefundRequest> && !Streamable<PaymentRequest>);

}  // namespace
}  // namespace tilvanego::test
