#include <tilvanego/platform/memory/ScriptedRandomSource.h>

#include "tests/support/Test.h"
#include "tests/transports/Payments.h"

namespace tilvanego::test {
namespace {

using detail::PaymentHandoffEnvelope;
using Direction = detail::PaymentHandoffDirection;

const std::string callback = "myshop://done?transport=pasteboard&resultHandoffId=h";

template <typename Payload>
PaymentHandoffEnvelope sealed(const Payload& payload, Direction direction = Direction::result,
                              const Date& createdAt = startOfTest, std::string_view requestId = "A-1") {
  ScriptedRandomSource nonce(Bytes(12, 9));
  return detail::sealHandoffEnvelope(payload, direction, "h", requestId, createdAt, nonce).value();
}

PaymentHandoffEnvelope sealedItems(const detail::ResultQueryItems& items = resultItems()) {
  return sealed(detail::PaymentHandoffResultPayload{items});
}

std::string textOf(const PaymentHandoffEnvelope& envelope) {
  return json::encode(envelope, detail::envelopeFormat).value();
}

std::vector<PasteboardItem> asText(const std::string& text) { return {{{"public.utf8-plain-text", text}}}; }

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

struct State {
  std::string_view rule;
  std::vector<PasteboardItem> items;
  std::string_view outcome;
  bool emptied;
};

TEST(PasteboardState, ComesTo) {
  using Envelope = PaymentHandoffEnvelope;
  using Items = std::vector<PasteboardItem>;
  const detail::PaymentHandoffResultPayload result{resultItems()};
  const auto changed = [](void (*change)(Envelope&)) {
    auto envelope = sealedItems();
    change(envelope);
    return asText(textOf(envelope));
  };
  const std::string good = textOf(sealedItems());
  constexpr std::string_view missing = "failure pasteboardHandoffMissing";
  constexpr std::string_view invalid = "failure pasteboardHandoffInvalid";
  constexpr std::string_view notOpened = "failure pasteboardHandoffDecryptionFailed";
  const auto longAgo = Date::fromSecondsSince1970(1'699'000'000);
  const std::vector<State> states{
      {"approved", asText(good), "success", true},
      {"declined", asText(textOf(sealedItems({{"status", "declined"}}))), "declined", true},
      {"no status", asText(textOf(sealedItems({}))), "failure missingStatus +", true},
      {"another inner request id", asText(textOf(sealedItems({{"request_id", "B"}}))),
       "failure requestIdMismatch +", true},

      {"nothing", {}, missing, true},
      {"an empty text", asText(""), missing, false},
      {"ordinary text", asText("milk, eggs"), notOpened, false},
      {"JSON of another shape", asText("{}"), notOpened, false},
      {"a picture", {{{"public.png", Bytes{0x89, 0xff}}}}, missing, false},
      {"another handoff", changed([](Envelope& e) { e.handoffId = "g"; }), missing, false},
      {"another namespace", changed([](Envelope& e) { e.namespace_ = "other"; }), missing, false},
      {"a schema version that isn't read", changed([](Envelope& e) { e.schemaVersion = 2; }), missing, false},
      {"expired", asText(textOf(sealed(result, Direction::result, longAgo))),
       "failure pasteboardHandoffExpired", true},
      {"a longer life than was sealed",
       changed([](Envelope& e) { e.expiresAt = Date::fromSecondsSince1970(1'800'000'000); }), notOpened,
       true},
      {"a request", asText(textOf(sealed(result, Direction::request))), invalid, true},
      {"another request id", asText(textOf(sealed(result, Direction::result, startOfTest, "A-2"))), invalid,
       true},
      {"a changed ciphertext", changed([](Envelope& e) { e.ciphertext[30] ^= 1; }), notOpened, true},
      {"a short ciphertext", changed([](Envelope& e) { e.ciphertext = "AAAA"; }), notOpened, true},
      {"a ciphertext that is no base64", changed([](Envelope& e) { e.ciphertext = "!"; }), invalid, true},
      {"the other transport's payload",
       asText(textOf(sealed(detail::PaymentURLResultPayload{resultItems()}))), notOpened, true},

      {"bytes under a later type", {{{"public.plain-text", bytesOf(good)}}}, "success", true},
      {"a type of no name of ours", {{{"com.example.x", good}}}, "success", true},
      {"an empty text before another type",
       {{{"public.utf8-plain-text", std::string()}, {"public.text", good}}},
       "success",
       true},
      {"bytes that are no text before the next item",
       {{{"public.plain-text", Bytes{0xff}}, {"z", Bytes{}}}, {{"public.text", bytesOf(good)}}},
       "success",
       true},
      {"the types' order before the names' order",
       {{{"a", std::string("other")}, {"public.plain-text", bytesOf(good)}}},
       "success",
       true},
  };
  for (const auto& [rule, items, outcome, emptied] : states) {
    SCOPED_TRACE(rule);
    PendingPayment host;
    host.pasteboard->place(items);
    EXPECT_EQ(host.handle(callback), outcome);
    EXPECT_EQ(host.pasteboard->items(), emptied ? Items{} : items);
    EXPECT_FALSE(host.sdk->isPaymentInProgress());
  }
}

struct Callback {
  std::string_view rule;
  std::string text;
  std::string_view outcome;
  bool read;
};

TEST(PasteboardResult, IsLookedForOnlyWhereTheCallbackNamesIt) {
  const Callback callbacks[]{
      {"in snake case", "myshop://done?transport=pasteboard&result_handoff_id=h", "success", true},
      {"names in any case", "myshop://done?TRANSPORT=pasteboard&RESULTHANDOFFID=h", "success", true},
      {"the transport is compared with case",
       "myshop://done?transport=PASTEBOARD&resultHandoffId=h&status=cancel", "cancelled", false},
      {"the first transport decides", "myshop://done?transport=url&transport=pasteboard&resultHandoffId=h",
       "failure missingStatus +", false},
      {"a first transport without value", "myshop://done?transport&transport=pasteboard&resultHandoffId=h",
       "failure missingStatus +", false},
      {"no id, so the inline status counts", "myshop://done?transport=pasteboard&status=approved", "success",
       false},
      {"an id without value",
       "myshop://done?transport=pasteboard&resultHandoffId&result_handoff_id=h&status=declined", "declined",
       false},
      {"an empty id is one", "myshop://done?transport=pasteboard&resultHandoffId=&status=approved",
       "failure pasteboardHandoffMissing", false},
      {"another callback URL", "myshop://else?transport=pasteboard&resultHandoffId=h", "unhandled", false},
      {"status beside the id is passed over",
       "myshop://done?transport=pasteboard&resultHandoffId=h&status=declined", "success", true},
  };
  for (const auto& [rule, text, outcome, read] : callbacks) {
    PendingPayment host;
    host.pasteboard->place(asText(textOf(sealedItems())));
    EXPECT_EQ(host.handle(text), outcome) << rule;
    EXPECT_EQ(host.pasteboard->items().empty(), read) << rule;
  }
}

TEST(PasteboardResult, IsConsumedByTheFirstReading) {
  PendingPayment host;
  host.pasteboard->place(asText(textOf(sealedItems())));
  const URL url = URL::parse(callback).value();
  EXPECT_EQ(host.sdk->paymentResult(url)->name(), "success");
  const auto second = host.sdk->paymentResult(url);
  ASSERT_TRUE(second);
  EXPECT_EQ(std::get<PaymentResult::Failure>(*second).error.name(), "pasteboardHandoffMissing");
}

TEST(PasteboardResult, StillOpensAtItsLastInstantAndNoLater) {
  for (const auto& [now, outcome] : {std::pair{1'700'000'300.0, "success"},
                                     std::pair{1'700'000'300.5, "failure pasteboardHandoffExpired"}}) {
    PendingPayment host;
    host.pasteboard->place(asText(textOf(sealedItems())));
    host.clock->stopAt(Date::fromSecondsSince1970(now));
    EXPECT_EQ(host.handle(callback), outcome);
  }
}

TEST(PasteboardResult, ThatNoURLCanCarryIsInvalidAndCleared) {
  auto fields = paymentFields();
  fields.callbackURL = URL::parse("myshop://a%20b/done").value();
  PendingPayment host(fields);
  host.pasteboard->place(asText(textOf(sealedItems())));
  EXPECT_EQ(host.handle("myshop://a%20b/done?transport=pasteboard&resultHandoffId=h"),
            "failure pasteboardHandoffInvalid");
  EXPECT_TRUE(host.pasteboard->items().empty());
}

TEST(PasteboardResult, AnswersAPaymentThatWentOutByAnyTransport) {
  TestHost host;
  host.clock->stopAt(startOfTest);
  host.sdk->startPayment(PaymentRequest(paymentFields()), PaymentLaunchTransport::pasteboard(),
                         noteResult(host));
  host.takeEvents();
  EXPECT_TRUE(host.sdk->handleCallback(URL::parse("myshop://done?status=approved").value()));
  EXPECT_EQ(host.takeEvents(), std::vector<std::string>{"success"});
  EXPECT_FALSE(host.pasteboard->items().empty()) << "the request's own envelope is left to expire";
}

TEST(ClearHandoffEnvelope, LooksAtNeitherVersionNorDirection) {
  TestHost host;
  auto envelope = sealedItems();
  envelope.schemaVersion = 7;
  envelope.direction = Direction::request;
  host.pasteboard->place(asText(textOf(envelope)));
  detail::clearHandoffEnvelope(*host.pasteboard, "other");
  EXPECT_FALSE(host.pasteboard->items().empty());
  detail::clearHandoffEnvelope(*host.pasteboard, "h");
  EXPECT_TRUE(host.pasteboard->items().empty());
}

}  // namespace
}  // namespace tilvanego::test
