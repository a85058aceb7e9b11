#include <tilvanego/json/JSON.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>
#include <tilvanego/sandbox/Response.h>
#include <tilvanego/sandbox/SandboxApplication.h>
#include <tilvanego/values/Base64.h>
#include <tilvanego/values/Wiping.h>

#include "tests/support/FreedMemory.h"
#include "tests/support/Kinds.h"

namespace tilvanego::test {
namespace {

// In links and in JSON other characters are escaped than letters and digits: a piece is found in every form.
constexpr std::string_view longToken = "Hd7gQ2xw/9Kp4Ztb1+\"Lm8Vc3Rn\"and/so/on/for/ever/and/one/day";
// So short that it lies in the record itself.
constexpr std::string_view shortToken = "S4x9Tq2LmB7";

FreedMemoryWatch watchTokens() {
  // A short text that was moved or cut lacks its first character alone.
  return FreedMemoryWatch({"Hd7gQ2xw", "9Kp4Ztb1", "Lm8Vc3Rn", shortToken.substr(1)});
}

/// Text that no compression makes short enough for a link.
const std::string& endlessNotes() {
  static const std::string notes = [] {
    std::string text;
    for (std::uint32_t i = 0, seed = 1; i < 150'000; ++i) {
      seed = seed * 1'664'525 + 1'013'904'223;
      text += static_cast<char>('0' + seed % 75);
    }
    return text;
  }();
  return notes;
}

struct Started {
  std::string_view name;
  std::function<void(TestHost& host, const URL& callbackURL)> start;
};

Started paymentBy(std::string_view name, const PaymentLaunchTransport& transport, std::string notes = "n") {
  return {name, [=](TestHost& host, const URL& url) {
            host.sdk->startPayment(PaymentRequest({.requestId = "A-1",
                                                   .amount = 1,
                                                   .currency = "EUR",
                                                   .callbackURL = url,
                                                   .notes = notes,
                                                   .credentials = credentials()}),
                                   transport, noting(host, "payment"));
          }};
}

/// All kinds, and payments by each way that a link can take.
std::vector<Started> allStarts() {
  std::vector<Started> starts;
  for (const Kind& kind : allKinds()) starts.push_back({kind.name, kind.start});
  starts.push_back(paymentBy("gzip", PaymentLaunchTransport::gzip()));
  starts.push_back(paymentBy("gzip, too large", PaymentLaunchTransport::gzip(), endlessNotes()));
  starts.push_back(paymentBy("pasteboard", PaymentLaunchTransport::pasteboard()));
  starts.push_back(paymentBy("automatic to gzip", PaymentLaunchTransport::automatic(0)));
  starts.push_back(
      paymentBy("automatic to pasteboard", PaymentLaunchTransport::automatic(0), endlessNotes()));
  return starts;
}

/// A host that keeps no copy of a link; its list of events would.
struct QuietHost : TestHost {
  QuietHost() {
    application->setOnOpen({});
    clock->stopAt(Date::fromSecondsSince1970(1'700'000'000));
  }
};

const URL& done() {
  static const URL url = parsedURL("myshop://done");
  return url;
}

constexpr std::array ends{"refused",   "in progress", "not opened",
                          "cancelled", "completed",   "given up with its host"};

void runTo(std::string_view end, QuietHost& host, const Started& one) {
  one.start(host, end == "refused" ? parsedURL("done") : done());
  if (end == "in progress") one.start(host, done());
  if (end == "not opened") {
    host.application->reportOldest(false);
    host.loop.runPending();
  }
  if (end == "cancelled") {
    for (const Kind& kind : allKinds()) ((*host.sdk).*kind.cancel)();
  }
  if (end == "completed") {
    static_cast<void>(host.sdk->handleCallback(parsedURL("myshop://done?request_id=A-1&status=success")));
  }
}

class FreedMemory : public testing::TestWithParam<std::string_view> {
 protected:
  void SetUp() override { secretToken = GetParam(); }
};

TEST_P(FreedMemory, HoldsNoTokenHoweverAnOperationEnds) {
  for (const Started& one : allStarts()) {
    for (const std::string_view end : ends) {
      const auto watch = watchTokens();
      {
        QuietHost host;
        runTo(end, host, one);
      }
      EXPECT_EQ(watch.found(), "") << one.name << ", " << end;
    }
  }
}

TEST_P(FreedMemory, HoldsNoCompressedToken) {
  std::string payload;
  {
    QuietHost host;
    paymentBy("", PaymentLaunchTransport::gzip()).start(host, done());
    payload = host.application->openedURLs().at(0).queryItems()->at(2).value.value();
  }
  const Bytes gzip = base64URLDecode(payload).value();
  const std::string_view bytes(reinterpret_cast<const char*>(gzip.data()), gzip.size());
  const std::string_view text = payload;
  const FreedMemoryWatch watch({text.substr(text.size() / 2, 12), text.substr(text.size() - 12),
                                bytes.substr(bytes.size() / 2, 8), bytes.substr(bytes.size() - 12, 8)});
  {
    QuietHost host;
    paymentBy("", PaymentLaunchTransport::gzip()).start(host, done());
    EXPECT_TRUE(sandbox::LaunchLink::read(host.application->openedURLs().at(0)));
  }
  EXPECT_EQ(watch.found(), "");
}

TEST_P(FreedMemory, HoldsNoTokenOfARecordThatWasCopiedMovedOrAssigned) {
  const InitializationRequest other({.requestId = "2", .callbackURL = done(), .sourceApplication = ""});
  const auto watch = watchTokens();
  const auto exchange = [](auto make, const auto& another) {
    using Record = std::remove_cvref_t<decltype(another)>;
    auto first = std::make_unique<Record>(make());
    auto copy = std::make_unique<Record>(*first);
    auto moved = std::make_unique<Record>(std::move(*first));
    *copy = another;
    *copy = *moved;
    *moved = another;
    first = std::make_unique<Record>(std::move(*copy));
    EXPECT_FALSE(*first == another);
  };
  exchange(credentials, PaymentCredentials({.basicToken = "b", .accountId = "", .environment = ""}));
  exchange(
      [] {
        return InitializationRequest({.requestId = "1",
                                      .callbackURL = done(),
                                      .sourceApplication = "",
                                      .basicToken = std::string(secretToken)});
      },
      other);
  EXPECT_EQ(watch.found(), "");
}

TEST_P(FreedMemory, HoldsNoTokenOfJSON) {
  const auto watch = watchTokens();
  {
    auto text = json::encode(credentials()).value();
    auto read = std::make_unique<PaymentCredentials>(json::decode<PaymentCredentials>(text).value());
    EXPECT_EQ(read->basicToken(), secretToken);
    detail::wipe(text);
  }
  EXPECT_EQ(watch.found(), "");
}

TEST_P(FreedMemory, HoldsNoTokenOfAnOpenedLink) {
  URL link = parsedURL("tilvanego://payment/v1/start?basic_token=" + std::string(secretToken));
  const auto watch = watchTokens();
  for (const std::string_view command : {"true", "no-such-program"}) {
    RunLoop loop;
    SpawnedOpener opener(loop, {std::string(command)});
    opener.openURL(link, [&loop](bool) { loop.stop(); });
    loop.run();
  }
  EXPECT_EQ(watch.found(), "");
}

TEST_P(FreedMemory, HoldsNoTokenThatTheSandboxRead) {
  for (const Started& one : allStarts()) {
    if (one.name == "gzip, too large") continue;
    const auto watch = watchTokens();
    {
      QuietHost host;
      sandbox::SandboxApplication paymentApp(
          host.loop, [&](const URL& url) { EXPECT_TRUE(host.sdk->handleCallback(url)); },
          {.pasteboard = host.pasteboard, .clock = host.clock.get()});
      std::optional<sandbox::LaunchLink> read;
      paymentApp.setObserver([&](const URL&, const auto& handled) {
        ASSERT_TRUE(handled) << handled.error().message;
        read = handled->request;
      });
      one.start(host, done());
      paymentApp.openURL(host.application->openedURLs().at(0), [](bool) {});
      host.loop.runPending();
      EXPECT_FALSE(read->lines().empty());
    }
    EXPECT_EQ(watch.found(), "") << one.name;
  }
}

/// Else the other tests could not fail.
TEST_P(FreedMemory, IsLookedThrough) {
  const auto watch = watchTokens();
  std::make_unique<std::string>(GetParam()).reset();
  EXPECT_NE(watch.found(), "");
}

INSTANTIATE_TEST_SUITE_P(Tokens, FreedMemory, testing::Values(longToken, shortToken),
                         [](const auto& token) { return token.index == 0 ? "Long" : "Short"; });

}  // namespace
}  // namespace tilvanego::test
