#include <expected>
#include <filesystem>

#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/memory/RecordingDebugOutput.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"
#include "tests/transports/Payments.h"

namespace tilvanego::test {
namespace {

// Two processes share the store; here its two sides are two objects on one directory.
TEST(PasteboardStoreHandoff, CarriesARequestOutAndItsResultBack) {
  TemporaryDirectory directory;
  Platform platform = Platform::standard(RunLoop::main(), std::make_shared<ManualClock>(startOfTest));
  platform.pasteboard = std::make_unique<PasteboardStore>(directory.path() / "store", platform.clock);
  PasteboardStore theirs(directory.path() / "store", platform.clock);

  auto fields = paymentFields();
  fields.notes = std::string(12'000'000, 'n');
  const PaymentRequest request(fields);
  const auto link = detail::pasteboardPaymentAppURL(request, platform);
  ASSERT_TRUE(link);
  const auto envelope = detail::readHandoffEnvelope(theirs, itemOf(*link, "handoffId"), startOfTest);
  ASSERT_TRUE(envelope);
  const auto asked = detail::openHandoffEnvelope<detail::PaymentHandoffRequestPayload>(
      *envelope, detail::PaymentHandoffDirection::request, "A-1", startOfTest);
  EXPECT_TRUE(asked && *asked == detail::PaymentHandoffRequestPayload::of(request));

  const auto answer = detail::sealHandoffEnvelope(detail::PaymentHandoffResultPayload{resultItems()},
                                                  detail::PaymentHandoffDirection::result, "r", "A-1",
                                                  startOfTest, *platform.randomSource);
  ASSERT_TRUE(answer && detail::writeHandoffEnvelope(theirs, *answer));
  const auto result = detail::pasteboardPaymentResult(
      URL::parse("myshop://done?transport=pasteboard&resultHandoffId=r").value(), fields.callbackURL, "A-1",
      platform);
  ASSERT_TRUE(result);
  EXPECT_EQ(result->name(), "success");
  EXPECT_TRUE(theirs.items().empty());
}

TEST(PasteboardLaunch, ThatIsNotKeptEndsThePaymentAtOnceAndTheLoggerHearsWhy) {
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
    for (const auto& transport :
         {PaymentLaunchTransport::pasteboard(), PaymentLaunchTransport::automatic(0)}) {
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
