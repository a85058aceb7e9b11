#include <tilvanego/transports/Gzip.h>
#include <tilvanego/values/Base64.h>

#include "tests/support/Test.h"
#include "tests/transports/Payments.h"

namespace tilvanego::test {
namespace {

using detail::CompressedPayload;
using Envelope = detail::PaymentURLPayloadEnvelope<detail::PaymentURLResultPayload>;

CompressedPayload payloadOf(const Envelope& envelope) {
  return detail::encodeCompressedPayload(envelope).value();
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
  const auto at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

std::string goodCallback() { return compressedCallback(payloadOf(resultEnvelope())); }

TEST(CompressedResult, IsWhatItsItemsSay) {
  EXPECT_EQ(PendingPayment().handle(goodCallback()), "success");
  auto declined = resultEnvelope();
  declined.payload.queryItems = resultItems({{"result", "Rejected"}, {"message", "no & no"}});
  PendingPayment host;
  const auto result = host.sdk->paymentResult(URL::parse(compressedCallback(payloadOf(declined))).value());
  ASSERT_TRUE(result && result->response());
  EXPECT_EQ(result->name(), "declined");
  EXPECT_EQ(result->response()->processorMessage(), "no & no");
  EXPECT_EQ(result->response()->callbackURL().absoluteString(),
            "myshop://done?message=no%20%26%20no&result=Rejected");
}

constexpr std::string_view invalid = "failure urlPayloadInvalid";
constexpr std::string_view tooLarge = "failure urlPayloadTooLarge";
constexpr std::string_view notRead = "failure urlPayloadDecompressionFailed";

TEST(CompressedResult, NeedsEachItemOfTheCallback) {
  struct Change {
    std::string_view rule, from, to, outcome;
  };
  for (const auto& [rule, from, to, outcome] : {
           Change{"capitals in the transport", "transport=gzip", "TRANSPORT=GZIP", "success"},
           {"a later transport item counts as well", "?", "?transport&transport=url&", "success"},
           {"names are decoded", "encoding=", "%65ncoding=", "success"},
           {"sizes in camel case", "payload_size", "payloadSize", "success"},
           {"a size with a plus sign", "payload_size=", "payload_size=+", "success"},
           {"the first size counts", "payload_size", "payloadSize=1&payload_size", invalid},
           {"a first size without a value", "payload_size", "payloadSize&payload_size", invalid},
           {"no transport: the inline parser's", "transport=gzip&", "", "failure missingStatus +"},
           {"another transport", "transport=gzip", "transport=zip", "failure missingStatus +"},
           {"the encoding is compared with case", "gzip-json", "GZIP-JSON", invalid},
           {"no encoding", "encoding=gzip-json&", "", invalid},
           {"no payload", "payload=", "pay=", invalid},
           {"no size", "compressed_size=", "size=", invalid},
           {"a negative size", "payload_size=", "payload_size=-", invalid},
           {"a letter in a size", "payload_size=", "payload_size=1e", invalid},
           {"an empty size", "payload_size=", "payload_size=&x=", invalid},
           {"a size beyond 64 bits", "payload_size=", "payload_size=9223372036854775808&x=", invalid},
           {"no base64", "payload=H4s", "payload=H%20s", invalid},
           {"a length of base64 that there isn't", "payload=", "payload=AAAAA&x=", invalid},
           {"a compressed size that is merely wrong", "compressed_size=", "compressed_size=1", tooLarge},
           {"JSON that is said to be too long", "payload_size=", "payload_size=262145&x=", tooLarge},
           {"JSON of another size than said", "payload_size=", "payload_size=262144&x=", invalid},
           {"another callback URL", "done", "else", "unhandled"},
       }) {
    EXPECT_EQ(PendingPayment().handle(replaced(goodCallback(), from, to)), outcome) << rule;
  }
}

TEST(CompressedResult, NeedsGzipOfTheJSONOfAResult) {
  const std::string empty = compressedCallback({.text = "", .jsonSize = 0, .compressedSize = 0});
  const auto withPayload = [](const auto& payload) {
    return compressedCallback(detail::encodeCompressedPayload(
                                  detail::makeURLPayloadEnvelope(detail::PaymentHandoffDirection::result,
                                                                 "A-1", startOfTest, payload))
                                  .value());
  };
  for (const std::string& callback :
       {empty, replaced(empty, "compressed_size=0", "compressed_size=-0"),
        compressedCallback({.text = "AAAA", .jsonSize = 3, .compressedSize = 3}),
        compressedCallback(detail::compressPayloadJSON("approved").value()),
        compressedCallback(detail::compressPayloadJSON("{}").value()),
        withPayload(detail::PaymentHandoffRequestPayload::of(PaymentRequest(paymentFields()))),
        withPayload(detail::PaymentHandoffResultPayload{resultItems()})}) {
    EXPECT_EQ(PendingPayment().handle(callback), notRead) << callback;
  }
}

TEST(CompressedResult, NeedsAnEnvelopeOfThisPayment) {
  struct Change {
    std::string_view rule;
    void (*change)(Envelope&);
    std::string_view outcome;
  };
  for (const auto& [rule, change, outcome] : {
           Change{"any age", [](Envelope& e) { e.createdAt = Date(); }, "success"},
           {"namespace", [](Envelope& e) { e.namespace_ = "com.ostrel.tilvane.handoff"; }, invalid},
           {"schema version", [](Envelope& e) { e.schemaVersion = 2; }, invalid},
           {"direction", [](Envelope& e) { e.direction = detail::PaymentHandoffDirection::request; },
            invalid},
           {"request id", [](Envelope& e) { e.requestId = "a-1"; }, invalid},
           {"another inner request id", [](Envelope& e) { e.payload.queryItems["request_id"] = "B"; },
            "failure requestIdMismatch +"},
           {"no items", [](Envelope& e) { e.payload.queryItems.clear(); }, "failure missingStatus +"},
       }) {
    auto envelope = resultEnvelope();
    change(envelope);
    EXPECT_EQ(PendingPayment().handle(compressedCallback(payloadOf(envelope))), outcome) << rule;
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

TEST(CompressedResult, ThatNoURLCanCarryIsInvalid) {
  // Its host reads as one that can't be written again.
  auto fields = paymentFields();
  fields.callbackURL = URL::parse("myshop://a%20b/done").value();
  ASSERT_FALSE(detail::rebuiltCallback(fields.callbackURL, resultItems()));
  PendingPayment host(fields);
  EXPECT_EQ(host.handle(replaced(goodCallback(), "myshop://done", "myshop://a%20b/done")),
            "failure urlPayloadInvalid");
}

TEST(CompressedResult, CanBeAskedForAgainAndAgain) {
  PendingPayment host;
  const URL callback = URL::parse(goodCallback()).value();
  EXPECT_EQ(host.sdk->paymentResult(callback)->name(), "success");
  EXPECT_EQ(host.sdk->paymentResult(callback)->name(), "success");
  EXPECT_TRUE(host.sdk->isPaymentInProgress());
}

}  // namespace
}  // namespace tilvanego::test
