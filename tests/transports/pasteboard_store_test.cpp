#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <tests/platform/TemporaryDirectory.h>
#include <tests/transports/Payments.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>

namespace tilvanego::test {
namespace {

// Two processes share the store; here its two sides are two objects on one directory.
TEST(PasteboardStoreHandoff, CarriesARequestOutAndItsResultBack) {
  TemporaryDirectory directory;
  auto store = std::make_unique<PasteboardStore>(directory.path() / "store",
                                                 std::make_shared<ManualClock>(startOfTest));
  const Platform platform = [&] {
    RunLoop& loop = RunLoop::main();
    Platform made = Platform::standard(loop);
    made.clock = std::make_shared<ManualClock>(startOfTest);
    made.pasteboard = std::move(store);
    return made;
  }();
  PasteboardStore theirs(directory.path() / "store", platform.clock);

  auto fields = paymentFields();
  fields.notes = std::string(1'000'000, 'n');
  const PaymentRequest request(fields);
  const auto link = detail::pasteboardPaymentAppURL(request, platform);
  ASSERT_TRUE(link);
  const auto envelope = detail::readHandoffEnvelope(theirs, itemOf(*link, "handoffId"), startOfTest);
  ASSERT_TRUE(envelope);
  const auto asked = detail::openHandoffEnvelope<detail::PaymentHandoffRequestPayload>(
      *envelope, detail::PaymentHandoffDirection::request, "A-1", startOfTest);
  ASSERT_TRUE(asked);
  EXPECT_EQ(asked->notes, fields.notes);

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

}  // namespace
}  // namespace tilvanego::test
