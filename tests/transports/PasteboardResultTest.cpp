#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <tilvanego/platform/memory/ScriptedRandomSource.h>

#include "tests/transports/Payments.h"

namespace tilvanego::test {
namespace {

using detail::PaymentHandoffEnvelope;
using Direction = detail::PaymentHandoffDirection;

const std::string callback = "myshop://done?transport=pasteboard&resultHandoffId=h";

template <class Payload>
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
  std::vector<PasteboardItem> (*items)();
  std::string_view outcome;
  bool emptied;
};

template <auto Change>
std::vector<PasteboardItem> withEnvelope() {
  auto envelope = sealedItems();
  Change(envelope);
  return asText(textOf(envelope));
}

using Envelope = PaymentHandoffEnvelope;
constexpr double longAgo = 1'699'000'000;

const State states[]{
    {"approved", [] { return asText(textOf(sealedItems())); }, "success", true},
    {"declined", [] { return asText(textOf(sealedItems({{"status", "declined"}}))); }, "declined", true},
    {"no status", [] { return asText(textOf(sealedItems({}))); }, "failure missingStatus +", true},
    {"another inner request id", [] { return asText(textOf(sealedItems({{"request_id", "B"}}))); },
     "failure requestIdMismatch +", true},

    {"nothing", [] { return std::vector<PasteboardItem>{}; }, "failure pasteboardHandoffMissing", true},
    {"an empty text", [] { return asText(""); }, "failure pasteboardHandoffMissing", false},
    {"ordinary text", [] { return asText("milk, eggs"); }, "failure pasteboardHandoffDecryptionFailed",
     false},
    {"JSON of another shape", [] { return asText("{}"); }, "failure pasteboardHandoffDecryptionFailed",
     false},
    {"a picture", [] { return std::vector<PasteboardItem>{{{"public.png", Bytes{0x89, 0xff}}}}; },
     "failure pasteboardHandoffMissing", false},
    {"another handoff", [] { return withEnvelope<[](Envelope& e) { e.handoffId = "g"; }>(); },
     "failure pasteboardHandoffMissing", false},
    {"another namespace", [] { return withEnvelope<[](Envelope& e) { e.namespace_ = "other"; }>(); },
     "failure pasteboardHandoffMissing", false},
    {"another schema version, which isn't read",
     [] { return withEnvelope<[](Envelope& e) { e.schemaVersion = 2; }>(); },
     "failure pasteboardHandoffMissing", false},
    {"expired",
     [] {
       return asText(textOf(sealed(detail::PaymentHandoffResultPayload{resultItems()}, Direction::result,
                                   Date::fromSecondsSince1970(longAgo))));
     },
     "failure pasteboardHandoffExpired", true},
    {"a longer life than was sealed",
     [] {
       return withEnvelope<[](Envelope& e) { e.expiresAt = Date::fromSecondsSince1970(1'800'000'000); }>();
     },
     "failure pasteboardHandoffDecryptionFailed", true},
    {"a request",
     [] {
       return asText(textOf(sealed(detail::PaymentHandoffResultPayload{resultItems()}, Direction::request)));
     },
     "failure pasteboardHandoffInvalid", true},
    {"another request id",
     [] {
       return asText(textOf(sealed(detail::PaymentHandoffResultPayload{resultItems()}, Direction::result,
                                   startOfTest, "A-2")));
     },
     "failure pasteboardHandoffInvalid", true},
    {"a changed ciphertext", [] { return withEnvelope<[](Envelope& e) { e.ciphertext[30] ^= 1; }>(); },
     "failure pasteboardHandoffDecryptionFailed", true},
    {"a ciphertext that is too short",
     [] { return withEnvelope<[](Envelope& e) { e.ciphertext = "AAAA"; }>(); },
     "failure pasteboardHandoffDecryptionFailed", true},
    {"a ciphertext that is no base64", [] { return withEnvelope<[](Envelope& e) { e.ciphertext = "!"; }>(); },
     "failure pasteboardHandoffInvalid", true},
    {"the other transport's payload",
     [] { return asText(textOf(sealed(detail::PaymentURLResultPayload{resultItems()}))); },
     "failure pasteboardHandoffDecryptionFailed", true},

    {"bytes under a later type",
     [] { return std::vector<PasteboardItem>{{{"public.plain-text", bytesOf(textOf(sealedItems()))}}}; },
     "success", true},
    {"a type of no name of ours",
     [] { return std::vector<PasteboardItem>{{{"com.example.x", textOf(sealedItems())}}}; }, "success", true},
    {"an empty text before another type",
     [] {
       return std::vector<PasteboardItem>{
           {{"public.utf8-plain-text", std::string()}, {"public.text", textOf(sealedItems())}}};
     },
     "success", true},
    {"bytes that are no text before the next item",
     [] {
       return std::vector<PasteboardItem>{{{"public.plain-text", Bytes{0xff}}, {"z", Bytes{}}},
                                          {{"public.text", bytesOf(textOf(sealedItems()))}}};
     },
     "success", true},
    {"the types' order before the names' order",
     [] {
       return std::vector<PasteboardItem>{
           {{"a", std::string("other")}, {"public.plain-text", bytesOf(textOf(sealedItems()))}}};
     },
     "success", true},
};

class PasteboardState : public testing::TestWithParam<State> {};

TEST_P(PasteboardState, ComesTo) {
  SCOPED_TRACE(GetParam().rule);
  PendingPayment host;
  host.pasteboard->place(GetParam().items());
  const auto before = host.pasteboard->items();
  EXPECT_EQ(host.handle(callback), GetParam().outcome);
  EXPECT_EQ(host.pasteboard->items(), GetParam().emptied ? std::vector<PasteboardItem>{} : before);
  EXPECT_FALSE(host.sdk->isPaymentInProgress());
}

INSTANTIATE_TEST_SUITE_P(Rules, PasteboardState, testing::ValuesIn(states),
                         [](const auto& one) { return "state" + std::to_string(one.index); });

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
  host.sdk->startPayment(PaymentRequest(paymentFields()), PaymentLaunchTransport::pasteboard(), noting(host));
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
