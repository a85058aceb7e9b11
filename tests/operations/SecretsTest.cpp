#include "tests/support/Kinds.h"
#include "tests/support/Test.h"

namespace tilvanego::test {
namespace {

constexpr std::string_view clearPan = "4111222233334444";
constexpr std::string_view clearTrack2 = "4111222233334444=2912";

/// Everything that the library shows or says of itself; not the links that it opens.
std::string shown(const TestHost& host) {
  std::string text;
  for (const std::string& event : host.events) {
    if (!event.starts_with("open ")) text += event + "\n";
  }
  return text;
}

/// Callbacks that hold card data in clear and end in each kind of failure, and in none.
const std::vector<std::string>& hostileQueries() {
  static const std::string card =
      "clear_pan=4111222233334444&clearTrack2=4111222233334444%3D2912&basic_token=t0ken";
  static const std::vector<std::string> queries{
      "?" + card,
      "?" + card + "&status=whatever",
      "?" + card + "&status=success",
      "?" + card + "&status=masked",
      "?" + card +
          "&status=success&transactionList=[{\"amount\":1,\"transactionDetails\":\"4111222233334444\"}]",
      "?" + card + "&status=success&transactionList=4111222233334444",
      "?" + card + "&request_id=other",
  };
  return queries;
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
  for (const Kind& kind : allKinds()) {
    for (const std::string& query : hostileQueries()) {
      TestHost host;
      kind.start(host, parsedURL("myshop://done"));
      EXPECT_FALSE(host.sdk->handleCallback(parsedURL("myshop://elsewhere" + query)));
      EXPECT_TRUE(host.sdk->handleCallback(parsedURL("myshop://done" + query)));
      EXPECT_FALSE(host.sdk->handleCallback(parsedURL("myshop://done" + query)));
      const std::string text = shown(host);
      EXPECT_EQ(text.find(clearPan), std::string::npos) << kind.name << " " << text;
      EXPECT_EQ(text.find(clearTrack2), std::string::npos) << kind.name << " " << text;
      EXPECT_EQ(text.find(secretToken), std::string::npos) << kind.name << " " << text;
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
