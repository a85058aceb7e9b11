#include <tilvanego/platform/memory/ScriptedRandomSource.h>
#include <tilvanego/values/Base64.h>

#include "tests/support/VectorFile.h"
#include "tests/transports/Payments.h"

namespace tilvanego::detail {
namespace {

using Direction = PaymentHandoffDirection;
using Opened = std::expected<PaymentHandoffResultPayload, HandoffFailure>;

constexpr std::size_t envelopeCases = 10;

Date dateOf(const test::VectorValue& seconds) { return Date::fromSecondsSince1970(seconds.number()); }

/// A failure in a word, in the order of its enumeration.
std::string nameOf(const HandoffFailure& failure) {
  static constexpr std::array errors{"missing", "expired", "invalid"};
  static constexpr std::array cipherErrors{"no random bytes", "box too short", "not authentic", "failed"};
  if (const auto* error = std::get_if<PaymentHandoffError>(&failure)) {
    return errors.at(static_cast<std::size_t>(*error));
  }
  const auto* error = std::get_if<HandoffCipherError>(&failure);
  return error ? cipherErrors.at(static_cast<std::size_t>(*error)) : "json";
}

template <typename Value>
std::string nameOf(const std::expected<Value, HandoffFailure>& done) {
  return done ? "good" : nameOf(done.error());
}

TEST(HandoffEnvelope, IsSealedAndOpenedByteForByteAsAnotherImplementationDoes) {
  for (const auto& one : test::vectorCases("transports/envelopes.json", envelopeCases)) {
    SCOPED_TRACE(one["name"].text());
    const auto direction = fromRawText<Direction>(one["direction"].text()).value();
    const std::string& handoffId = one["handoffId"].text();
    const std::string& requestId = one["requestId"].text();

    const auto key = handoffKey(direction, handoffId, requestId);
    ASSERT_TRUE(key);
    EXPECT_EQ(base64Encode(key->bytes()), one["key"].text());
    EXPECT_EQ(handoffAssociatedData(direction, handoffId, requestId, dateOf(one["expiresAt"])),
              one["associatedData"].text());

    ScriptedRandomSource nonce(base64Decode(one["nonce"].text()).value());
    const auto envelope = sealPlaintext(one["plaintext"].text(), direction, handoffId, requestId,
                                        dateOf(one["createdAt"]), nonce);
    ASSERT_TRUE(envelope);
    EXPECT_EQ(envelope->ciphertext, one["ciphertext"].text());
    EXPECT_EQ(envelope->expiresAt, dateOf(one["expiresAt"]));
    EXPECT_EQ(envelope->createdAt, dateOf(one["createdAt"])) << "unchanged";
    EXPECT_EQ(json::encode(*envelope, envelopeFormat).value(), one["envelope"].text());

    const auto theirs = json::decode<PaymentHandoffEnvelope>(one["envelope"].text()).value();
    Bytes box;
    const auto plaintext = openPlaintext(theirs, direction, requestId, dateOf(one["expiresAt"]), box);
    EXPECT_TRUE(plaintext && *plaintext == one["plaintext"].text()) << "up to its very last instant";
    if (direction != Direction::result) continue;
    const auto payload = openHandoffEnvelope<PaymentHandoffResultPayload>(theirs, direction, requestId,
                                                                          dateOf(one["createdAt"]));
    const bool good = one["plaintext"].text().starts_with("{\"queryItems\"");
    EXPECT_EQ(nameOf(payload), good ? "good" : "json");
  }
}

TEST(HandoffEnvelope, HoldsARequestFieldForField) {
  const auto cases = test::vectorCases("transports/envelopes.json", envelopeCases);
  const PaymentRequest full(
      {.requestId = "A-1001",
       .amount = Decimal::parse("12.50").value(),
       .tip = Decimal::parse("0.10"),
       .currency = "EUR",
       .callbackURL = URL::parse("myshop://done/x?a=1&b=2").value(),
       .customId = "",
       .notes = "Gr\u00fc\u00dfe / \"two\"\n\U0001F355",
       .credentials = PaymentCredentials({.basicToken = "s3cret", .accountId = "acc", .environment = "PROD"}),
       .requiresReaderReady = false});
  const PaymentRequest bare({.requestId = "A-1001",
                             .amount = Decimal::parse("1E+3").value(),
                             .transactionType = PaymentTransactionType::auth,
                             .currency = "USD",
                             .callbackURL = URL::parse("myshop://done").value()});
  const auto textOf = [](const PaymentRequest& request) {
    return json::encode(PaymentHandoffRequestPayload::of(request), envelopeFormat).value();
  };
  EXPECT_EQ(textOf(full), cases[0]["plaintext"].text());
  EXPECT_EQ(textOf(bare), cases[1]["plaintext"].text());
  EXPECT_EQ(json::decode<PaymentHandoffRequestPayload>(textOf(full)).value(),
            PaymentHandoffRequestPayload::of(full));
}

PaymentHandoffEnvelope sealedResult() {
  ScriptedRandomSource nonce(Bytes(12, 7));
  return sealHandoffEnvelope(PaymentHandoffResultPayload{test::resultItems()}, Direction::result, "h", "A-1",
                             test::startOfTest, nonce)
      .value();
}

Opened openedBy(const PaymentHandoffEnvelope& envelope, const Date& now = test::startOfTest) {
  return openHandoffEnvelope<PaymentHandoffResultPayload>(envelope, Direction::result, "A-1", now);
}

TEST(HandoffEnvelope, ThatWasChangedFailsInTheOrderOfTheTests) {
  using Envelope = PaymentHandoffEnvelope;
  const std::tuple<std::string_view, void (*)(Envelope&), std::string_view> changes[]{
      {"nothing", [](Envelope&) {}, "good"},
      {"namespace", [](Envelope& e) { e.namespace_ += "x"; }, "invalid"},
      {"schema version", [](Envelope& e) { e.schemaVersion = 2; }, "invalid"},
      {"direction", [](Envelope& e) { e.direction = Direction::request; }, "invalid"},
      {"request id before any cryptography", [](Envelope& e) { e.requestId = "A-2", e.ciphertext = "!"; },
       "invalid"},
      {"request id before expiry", [](Envelope& e) { e.requestId = "A-2", e.expiresAt = Date(); }, "invalid"},
      {"earlier expiry, passed", [](Envelope& e) { e.expiresAt = Date(), e.ciphertext = "!"; }, "expired"},
      {"later expiry", [](Envelope& e) { e.expiresAt = Date::fromSecondsSince1970(1'800'000'000); },
       "not authentic"},
      {"handoff id", [](Envelope& e) { e.handoffId = "g"; }, "not authentic"},
      {"version of the library, which isn't authenticated", [](Envelope& e) { e.sdkVersion = "9"; }, "good"},
      {"creation, which isn't authenticated", [](Envelope& e) { e.createdAt = Date(); }, "good"},
      {"a character outside the alphabet", [](Envelope& e) { e.ciphertext[3] = ' '; }, "invalid"},
      {"a length that no base64 has", [](Envelope& e) { e.ciphertext.resize(41); }, "invalid"},
      {"27 bytes", [](Envelope& e) { e.ciphertext.resize(36); }, "box too short"},
      {"28 bytes that are none of its own", [](Envelope& e) { e.ciphertext.assign(38, 'A'); },
       "not authentic"},
      {"the nonce", [](Envelope& e) { e.ciphertext[0] ^= 1; }, "not authentic"},
      {"the ciphertext", [](Envelope& e) { e.ciphertext[20] ^= 1; }, "not authentic"},
      {"the tag", [](Envelope& e) { e.ciphertext[e.ciphertext.size() - 4] ^= 1; }, "not authentic"},
      {"cut off", [](Envelope& e) { e.ciphertext.resize(e.ciphertext.size() - 4); }, "not authentic"},
  };
  for (const auto& [rule, change, outcome] : changes) {
    auto envelope = sealedResult();
    change(envelope);
    EXPECT_EQ(nameOf(openedBy(envelope)), outcome) << rule;
  }
}

TEST(HandoffEnvelope, NeedsRandomBytesAValidTextAndADateThatCounts) {
  ScriptedRandomSource none;
  ScriptedRandomSource some(Bytes(100, 1));
  const auto seal = [](PaymentHandoffResultPayload payload, RandomSource& random, const Date& createdAt) {
    return nameOf(sealHandoffEnvelope(payload, Direction::result, "h", "A-1", createdAt, random));
  };
  EXPECT_EQ(seal({}, none, test::startOfTest), "no random bytes");
  EXPECT_EQ(seal({{{"a", "\xff"}}}, some, test::startOfTest), "json");
  EXPECT_EQ(seal({}, some, Date::fromSecondsSince1970(std::numeric_limits<double>::quiet_NaN())), "invalid");
  EXPECT_EQ(seal({}, some, Date::fromSecondsSince1970(1e300)), "invalid");
}

TEST(HandoffId, IsFortyThreeURLSafeCharacters) {
  ScriptedRandomSource ones(Bytes(63, 0xff));
  EXPECT_EQ(makeHandoffId(ones).value(), std::string(42, '_') + "8");
  const auto failed = makeHandoffId(ones);
  ASSERT_FALSE(failed) << "31 bytes are too few";
  EXPECT_EQ(failed.error(), PaymentHandoffError::invalidPayload);
}

TEST(HandoffEnvelope, NeedsItsOwnSpellings) {
  const std::string good = json::encode(sealedResult(), envelopeFormat).value();
  ASSERT_TRUE(json::decode<PaymentHandoffEnvelope>(good));
  // Snake case is the other envelope's.
  for (const auto& [from, to] :
       {std::pair<std::string_view, std::string_view>("schemaVersion", "schema_version"),
        {"\"result\"", "\"answer\""},
        {"2023-11-14T", "2023-11-14 "}}) {
    std::string text = good;
    ASSERT_NE(text.find(from), std::string::npos) << from;
    text.replace(text.find(from), from.size(), to);
    EXPECT_FALSE(json::decode<PaymentHandoffEnvelope>(text)) << to;
  }
}

TEST(PaymentCredentialsJSON, KeepsTheTextsAsTheyStand) {
  const std::string text = R"({"account_id":"a","basic_token":" t ","environment":" prod"})";
  const auto read = json::decode<PaymentCredentials>(text);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->environment(), " prod");
  EXPECT_EQ(json::encode(*read, envelopeFormat).value(), text);
  EXPECT_FALSE(json::decode<PaymentCredentials>(R"({"account_id":"a","basic_token":"t"})"));
}

}  // namespace
}  // namespace tilvanego::detail
