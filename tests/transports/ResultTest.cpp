#include <tilvanego/platform/memory/ScriptedRandomSource.h>
#include <tilvanego/transports/Gzip.h>
#include <tilvanego/values/Base64.h>

#include "tests/transports/Payments.h"

/// What a result comes to, beyond what the program's scripts of both transports hold.
namespace tilvanego::test {
namespace {

using detail::PaymentHandoffEnvelope;

std::string goodCallback() {
  return compressedCallback(detail::encodeCompressedPayload(resultEnvelope()).value());
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
  const auto at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

TEST(CompressedResult, HasTheItemsAsItsCallbackURL) {
  auto declined = resultEnvelope();
  declined.payload.queryItems = resultItems({{"result", "Rejected"}, {"message", "no & no"}});
  PendingPayment host;
  const auto callback = compressedCallback(detail::encodeCompressedPayload(declined).value());
  const auto result = host.sdk->paymentResult(URL::parse(callback).value());
  ASSERT_TRUE(result && result->response());
  EXPECT_EQ(result->response()->callbackURL().absoluteString(),
            "myshop://done?message=no%20%26%20no&result=Rejected");
}

TEST(CompressedResult, NeedsEachItemOfTheCallback) {
  struct Change {
    std::string_view rule, from, to, outcome;
  };
  constexpr std::string_view invalid = "failure urlPayloadInvalid";
  for (const auto& [rule, from, to, outcome] : {
           Change{"a later transport item counts as well", "?", "?transport&transport=url&", "success"},
           {"names are decoded", "encoding=", "%65ncoding=", "success"},
           {"the first size counts", "payload_size", "payloadSize=1&payload_size", invalid},
           {"a first size without a value", "payload_size", "payloadSize&payload_size", invalid},
       }) {
    EXPECT_EQ(PendingPayment().handle(replaced(goodCallback(), from, to)), outcome) << rule;
  }
}

TEST(CompressedResult, InflatesToTheLimitAndNotBeyond) {
  // An envelope whose JSON has exactly so many bytes; past the limit it is packed by hand.
  const auto callbackOf = [](std::size_t size) {
    auto envelope = resultEnvelope();
    const std::size_t bare = json::encode(envelope, detail::envelopeFormat).value().size();
    envelope.payload.queryItems["status"] += std::string(size - bare, 'x');
    const std::string text = json::encode(envelope, detail::envelopeFormat).value();
    EXPECT_EQ(text.size(), size);
    const auto stream =
        detail::gzipCompress({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}).value();
    return compressedCallback({.text = base64URLEncode(stream),
                               .jsonSize = std::min<std::size_t>(size, 262'144),
                               .compressedSize = stream.size()});
  };
  EXPECT_EQ(PendingPayment().handle(callbackOf(262'144)), "failure paymentFailed +");
  EXPECT_EQ(PendingPayment().handle(callbackOf(262'145)), "failure urlPayloadTooLarge");
}

PaymentHandoffEnvelope sealedItems() {
  ScriptedRandomSource nonce(Bytes(12, 9));
  return detail::sealHandoffEnvelope(detail::PaymentHandoffResultPayload{resultItems()},
                                     detail::PaymentHandoffDirection::result, "h", "A-1", startOfTest, nonce)
      .value();
}

std::vector<PasteboardItem> asText(const PaymentHandoffEnvelope& envelope) {
  return {{{"public.utf8-plain-text", json::encode(envelope, detail::envelopeFormat).value()}}};
}

TEST(PasteboardResult, IsTheFirstTextOfTheFirstItemThatHasOne) {
  const std::string good = json::encode(sealedItems(), detail::envelopeFormat).value();
  const Bytes bytes(good.begin(), good.end());
  using State = std::tuple<std::string_view, std::vector<PasteboardItem>, std::string_view>;
  for (const auto& [rule, items, outcome] : std::vector<State>{
           {"an empty text", {{{"public.utf8-plain-text", ""}}}, "failure pasteboardHandoffMissing"},
           {"a picture", {{{"public.png", Bytes{0x89, 0xff}}}}, "failure pasteboardHandoffMissing"},
           {"bytes that are no text before the next item",
            {{{"public.plain-text", Bytes{0xff}}, {"z", Bytes{}}}, {{"public.text", bytes}}},
            "success"},
           {"the types' order before the names' order",
            {{{"a", "other"}, {"public.plain-text", bytes}}},
            "success"},
       }) {
    PendingPayment host;
    host.pasteboard->place(items);
    EXPECT_EQ(host.handle("myshop://done?transport=pasteboard&resultHandoffId=h"), outcome) << rule;
    EXPECT_EQ(host.pasteboard->items().empty(), outcome == "success") << rule;
  }
}

TEST(PasteboardResult, IsLookedForOnlyWhereTheCallbackNamesIt) {
  using Callback = std::tuple<std::string, std::string_view, bool>;
  for (const auto& [query, outcome, read] :
       {Callback{"transport=url&transport=pasteboard&resultHandoffId=h", "failure missingStatus +", false},
        {"transport&transport=pasteboard&resultHandoffId=h", "failure missingStatus +", false},
        {"transport=pasteboard&resultHandoffId&result_handoff_id=h&status=declined", "declined", false},
        {"transport=pasteboard&resultHandoffId=&status=approved", "failure pasteboardHandoffMissing", false},
        {"transport=pasteboard&resultHandoffId=h&status=declined", "success", true}}) {
    PendingPayment host;
    host.pasteboard->place(asText(sealedItems()));
    EXPECT_EQ(host.handle("myshop://done?" + query), outcome) << query;
    EXPECT_EQ(host.pasteboard->items().empty(), read) << query;
  }
}

TEST(TransportResult, IsExplainedAndStaysWhereItIs) {
  PendingPayment host;
  const std::vector<PasteboardItem> items = asText(sealedItems());
  host.pasteboard->place(items);
  for (const auto& [callback, transport] :
       {std::pair{goodCallback(), CallbackTransport::gzip},
        {"myshop://done?transport=pasteboard&resultHandoffId=h", CallbackTransport::pasteboard}}) {
    const auto explained = host.sdk->explainCallback(URL::parse(callback).value()).entries.back();
    EXPECT_TRUE(explained.ends && explained.transport == transport) << explained.reason;
    EXPECT_EQ(explained.result, "success");
    EXPECT_EQ(explained.statusWord, "approved");
    EXPECT_EQ(explained.fields.size(), 2U);
  }
  // An envelope that has expired is explained as such, and stays, too.
  host.clock->stopAt(Date::fromSecondsSince1970(1.8e9));
  host.pasteboard->place(items);
  const URL late = URL::parse("myshop://done?transport=pasteboard&resultHandoffId=h").value();
  EXPECT_EQ(host.sdk->explainCallback(late).entries.back().error, "pasteboardHandoffExpired");
  EXPECT_EQ(host.pasteboard->items(), items);
  EXPECT_TRUE(host.takeEvents().empty() && host.sdk->isPaymentInProgress());
}

TEST(TransportResult, ThatNoURLCanCarryIsInvalid) {
  // Its host reads as one that can't be written again.
  auto fields = paymentFields();
  fields.callbackURL = URL::parse("myshop://a%20b/done").value();
  ASSERT_FALSE(detail::rebuiltCallback(fields.callbackURL, resultItems()));
  EXPECT_EQ(PendingPayment(fields).handle(replaced(goodCallback(), "done", "a%20b/done")),
            "failure urlPayloadInvalid");
  PendingPayment host(fields);
  host.pasteboard->place(asText(sealedItems()));
  EXPECT_EQ(host.handle("myshop://a%20b/done?transport=pasteboard&resultHandoffId=h"),
            "failure pasteboardHandoffInvalid");
  EXPECT_TRUE(host.pasteboard->items().empty());
}

TEST(ClearHandoffEnvelope, LooksAtNeitherVersionNorDirection) {
  TestHost host;
  auto envelope = sealedItems();
  envelope.schemaVersion = 7;
  envelope.direction = detail::PaymentHandoffDirection::request;
  host.pasteboard->place(asText(envelope));
  detail::clearHandoffEnvelope(*host.pasteboard, "other");
  EXPECT_FALSE(host.pasteboard->items().empty());
  detail::clearHandoffEnvelope(*host.pasteboard, "h");
  EXPECT_TRUE(host.pasteboard->items().empty());
}

}  // namespace
}  // namespace tilvanego::test
