#include <filesystem>

#include <tilvanego/frame/Link.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/memory/RecordingDebugOutput.h>
#include <tilvanego/platform/memory/ScriptedRandomSource.h>
#include <tilvanego/values/Base64.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/transports/Payments.h"

namespace tilvanego::test {
namespace {

using Transport = PaymentLaunchTransport;
using Events = std::vector<std::string>;

Events launch(TestHost& host, const PaymentRequest::Fields& fields, const Transport& transport) {
  host.clock->stopAt(startOfTest);
  host.takeEvents();
  host.sdk->startPayment(PaymentRequest(fields), transport, noteResult(host));
  host.sdk->cancelPendingPayment();
  return host.takeEvents();
}

/// The transport of the link that was opened, "(none)" for an inline one; or the failure.
std::string outcome(TestHost& host, const PaymentRequest::Fields& fields, const Transport& transport) {
  const std::string last = launch(host, fields, transport).back();
  if (!last.starts_with("open ")) return last;
  return itemOf(host.application->openedURLs().back(), "transport");
}

TEST(PaymentTransport, UrlSchemeHasNoLimit) {
  TestHost host;
  auto fields = paymentFields();
  fields.notes = std::string(500'000, 'n');
  EXPECT_EQ(outcome(host, fields, Transport::urlScheme()), "(none)");
}

TEST(PaymentTransport, TooLargeForCompressionFailsOrGoesOnToThePasteboard) {
  TestHost host;
  auto fields = paymentFields();
  fields.notes = noise(200'000);
  EXPECT_EQ(outcome(host, fields, Transport::gzip()), "failure urlPayloadTooLarge");
  EXPECT_EQ(outcome(host, fields, Transport::automatic(2000)), "pasteboard");
}

TEST(PaymentTransport, OpensACompressedLinkOfExactlyTheLimit) {
  TestHost host;
  auto fields = paymentFields();
  fields.notes = noise(80'000);
  // The callback URL stands in the link once in clear, where each of its bytes counts, and once compressed,
  // where it hardly does.
  const auto eventWith = [&](std::size_t padding) {
    fields.callbackURL = URL::parse("myshop://done?" + std::string(padding, 'a')).value();
    return launch(host, fields, Transport::gzip()).back();
  };
  const std::string open = "open ";
  const std::size_t unpadded = eventWith(0).size();
  ASSERT_GT(unpadded, 80'000U);
  std::size_t padding = open.size() + 102'400 - unpadded;
  while (padding > 0 && eventWith(padding) == "failure urlPayloadTooLarge") --padding;
  EXPECT_EQ(eventWith(padding).size(), open.size() + 102'400);
  EXPECT_EQ(eventWith(padding + 1), "failure urlPayloadTooLarge");
  EXPECT_EQ(outcome(host, fields, Transport::automatic(0)), "pasteboard");
}

TEST(PaymentTransport, ShowsNoSecretAndPutsNoneOnThePasteboardInClear) {
  for (const Transport& transport : {Transport::urlScheme(), Transport::gzip(), Transport::pasteboard()}) {
    TestHost host;
    for (const std::string& event : launch(host, paymentFields(), transport)) {
      if (event.starts_with("open ")) continue;
      EXPECT_FALSE(event.contains(token)) << event;
      const std::string payload = itemOf(host.application->openedURLs()[0], "payload");
      EXPECT_FALSE(event.contains(payload)) << event;
    }
    EXPECT_FALSE(host.pasteboard->string().value_or("").contains(token)) << transport.text();
    EXPECT_FALSE(host.pasteboard->string().value_or("").contains(
        base64Encode({reinterpret_cast<const std::uint8_t*>(token.data()), token.size()})));
  }
}

TEST(PaymentTransport, ThatCantBuildItsLinkEndsThePaymentWithOneMessage) {
  const auto messageOf = [](TestHost& host, const PaymentRequest::Fields& fields,
                            const Transport& transport) {
    std::string message = "(opened)";
    host.sdk->startPayment(PaymentRequest(fields), transport, [&](const PaymentResult& result) {
      message = std::get<PaymentResult::Failure>(result).error.errorDescription();
    });
    return message;
  };
  constexpr auto notBuilt = "Unable to build Tilvane payment URL.";
  auto noText = paymentFields();
  noText.notes = "\xff";
  for (const Transport& transport : {Transport::gzip(), Transport::pasteboard(), Transport::automatic(0)}) {
    TestHost host;
    EXPECT_EQ(messageOf(host, noText, transport), notBuilt)
        << "text that JSON can't hold: " << transport.text();
    EXPECT_FALSE(host.sdk->isPaymentInProgress());
    EXPECT_TRUE(host.pasteboard->items().empty());
  }
  // 31 bytes are too few for the id, 43 for the nonce after it.
  for (const std::size_t bytes : {31U, 43U}) {
    TestHost host(std::make_unique<ScriptedRandomSource>(Bytes(bytes, 1)));
    EXPECT_EQ(messageOf(host, paymentFields(), Transport::pasteboard()), notBuilt) << bytes;
    EXPECT_TRUE(host.pasteboard->items().empty()) << bytes;
    EXPECT_TRUE(host.application->openedURLs().empty());
  }
}

TEST(PaymentTransport, NeedsNoRandomBytesForACompressedLink) {
  TestHost host(std::make_unique<ScriptedRandomSource>());
  EXPECT_EQ(outcome(host, paymentFields(), Transport::automatic(0)), "gzip");
}

TEST(PaymentTransport, ThatIsNotKeptOnThePasteboardEndsThePaymentAtOnceAndTheLoggerHearsWhy) {
  TemporaryDirectory directory;
  const auto store = [](const std::filesystem::path& path) -> std::unique_ptr<Pasteboard> {
    return std::make_unique<PasteboardStore>(path, std::make_shared<ManualClock>(startOfTest));
  };
  const auto open = directory.path() / "open";
  std::filesystem::create_directory(open);
  std::filesystem::permissions(open, std::filesystem::perms::all);
  using Case = std::tuple<std::function<std::unique_ptr<Pasteboard>()>, std::size_t, std::string>;
  for (const auto& [pasteboard, notes, reason] : std::vector<Case>{
           {[&] { return store(open); }, 300'000,
            open.string() + " is open to other users; its mode must be 0700."},
           {[&] { return store(directory.path() / "store"); }, 13'000'000, "The file would have 1733"},
           {[] { return nullptr; }, 300'000, "The platform has no pasteboard."}}) {
    for (const Transport& transport : {Transport::pasteboard(), Transport::automatic(0)}) {
      RunLoop loop;
      Platform platform = Platform::standard(loop);
      auto application = std::make_unique<MemoryApplication>(loop);
      const auto& opened = application->openedURLs();
      platform.application = std::move(application);
      platform.debugOutput = std::make_unique<RecordingDebugOutput>();
      platform.pasteboard = pasteboard();
      const auto sdk = detail::FacadeAccess::make(std::move(platform));
      std::vector<std::string> events;
      sdk->setLogger([&](TilvaneLogLevel level, std::string_view message) {
        events.push_back(std::string(rawText(level)) + " " + std::string(message));
      });
      auto fields = paymentFields();
      fields.notes = std::string(notes, 'n');
      sdk->startPayment(PaymentRequest(fields), transport, [&](const PaymentResult& result) {
        events.emplace_back(std::get<PaymentResult::Failure>(result).error.name());
      });
      ASSERT_EQ(events.size(), 2U) << reason;
      EXPECT_TRUE(events[0].starts_with("warning The payment can't be left on the pasteboard. " + reason))
          << events[0];
      EXPECT_EQ(events[1], "pasteboardHandoffUnavailable");
      EXPECT_FALSE(sdk->isPaymentInProgress());
      EXPECT_TRUE(opened.empty());
    }
  }
}

}  // namespace
}  // namespace tilvanego::test
