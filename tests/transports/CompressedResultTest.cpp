#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <tilvanego/transports/Gzip.h>
#include <tilvanego/values/Base64.h>

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

struct Callback {
  std::string_view rule;
  std::string (*make)();
  std::string_view outcome;
};

/// A callback of an envelope that was changed before it was compressed.
template <auto Change>
std::string withEnvelope() {
  auto envelope = resultEnvelope();
  Change(envelope);
  return compressedCallback(payloadOf(envelope));
}

/// A callback of any JSON text, with its right sizes.
std::string withJSON(const std::string& json) {
  return compressedCallback(detail::compressPayloadJSON(json).value());
}

template <auto& From, auto& To>
std::string withText() {
  return replaced(goodCallback(), From, To);
}

constexpr Callback callbacks[]{
    {"both words of the transport in capitals",
     [] { return replaced(goodCallback(), "transport=gzip", "TRANSPORT=GZIP"); }, "success"},
    {"a later transport item counts as well",
     [] { return replaced(goodCallback(), "?", "?transport&transport=url&"); }, "success"},
    {"names are decoded", [] { return replaced(goodCallback(), "encoding=", "%65ncoding="); }, "success"},
    {"sizes in camel case", [] { return replaced(goodCallback(), "payload_size", "payloadSize"); },
     "success"},
    {"a size with a plus sign", [] { return replaced(goodCallback(), "payload_size=", "payload_size=+"); },
     "success"},
    {"the first size counts",
     [] { return replaced(goodCallback(), "payload_size", "payloadSize=1&payload_size"); },
     "failure urlPayloadInvalid"},
    {"a first size without a value",
     [] { return replaced(goodCallback(), "payload_size", "payloadSize&payload_size"); },
     "failure urlPayloadInvalid"},
    {"any age", [] { return withEnvelope<[](Envelope& e) { e.createdAt = Date(); }>(); }, "success"},

    {"no transport: the inline parser's", [] { return replaced(goodCallback(), "transport=gzip&", ""); },
     "failure missingStatus +"},
    {"another transport", [] { return replaced(goodCallback(), "transport=gzip", "transport=zip"); },
     "failure missingStatus +"},
    {"the encoding is compared with case", [] { return replaced(goodCallback(), "gzip-json", "GZIP-JSON"); },
     "failure urlPayloadInvalid"},
    {"no encoding", [] { return replaced(goodCallback(), "encoding=gzip-json&", ""); },
     "failure urlPayloadInvalid"},
    {"no payload", [] { return replaced(goodCallback(), "payload=", "pay="); }, "failure urlPayloadInvalid"},
    {"no size", [] { return replaced(goodCallback(), "compressed_size=", "size="); },
     "failure urlPayloadInvalid"},
    {"a negative size", [] { return replaced(goodCallback(), "payload_size=", "payload_size=-"); },
     "failure urlPayloadInvalid"},
    {"a letter in a size", [] { return replaced(goodCallback(), "payload_size=", "payload_size=1e"); },
     "failure urlPayloadInvalid"},
    {"an empty size", [] { return replaced(goodCallback(), "payload_size=", "payload_size=&x="); },
     "failure urlPayloadInvalid"},
    {"a size beyond 64 bits",
     [] { return replaced(goodCallback(), "payload_size=", "payload_size=9223372036854775808&x="); },
     "failure urlPayloadInvalid"},
    {"no base64", [] { return replaced(goodCallback(), "payload=H4s", "payload=H%20s"); },
     "failure urlPayloadInvalid"},
    {"a length of base64 that there isn't",
     [] { return replaced(goodCallback(), "payload=", "payload=AAAAA&x="); }, "failure urlPayloadInvalid"},
    {"a compressed size that is merely wrong",
     [] { return replaced(goodCallback(), "compressed_size=", "compressed_size=1"); },
     "failure urlPayloadTooLarge"},
    {"JSON that is said to be too long",
     [] { return replaced(goodCallback(), "payload_size=", "payload_size=262145&x="); },
     "failure urlPayloadTooLarge"},
    {"JSON of another size than said",
     [] { return replaced(goodCallback(), "payload_size=", "payload_size=262144&x="); },
     "failure urlPayloadInvalid"},
    {"an empty payload", [] { return compressedCallback({.text = "", .jsonSize = 0, .compressedSize = 0}); },
     "failure urlPayloadDecompressionFailed"},
    {"minus zero is zero",
     [] {
       return replaced(compressedCallback({.text = "", .jsonSize = 0, .compressedSize = 0}),
                       "compressed_size=0", "compressed_size=-0");
     },
     "failure urlPayloadDecompressionFailed"},
    {"no gzip", [] { return compressedCallback({.text = "AAAA", .jsonSize = 3, .compressedSize = 3}); },
     "failure urlPayloadDecompressionFailed"},

    {"no JSON", [] { return withJSON("approved"); }, "failure urlPayloadDecompressionFailed"},
    {"JSON of another shape", [] { return withJSON("{}"); }, "failure urlPayloadDecompressionFailed"},
    {"a request's payload",
     [] {
       return compressedCallback(
           detail::encodeCompressedPayload(
               detail::makeURLPayloadEnvelope(
                   detail::PaymentHandoffDirection::result, "A-1", startOfTest,
                   detail::PaymentHandoffRequestPayload::of(PaymentRequest(paymentFields()))))
               .value());
     },
     "failure urlPayloadDecompressionFailed"},
    {"a sealed result's payload",
     [] {
       return compressedCallback(
           detail::encodeCompressedPayload(
               detail::makeURLPayloadEnvelope(detail::PaymentHandoffDirection::result, "A-1", startOfTest,
                                              detail::PaymentHandoffResultPayload{resultItems()}))
               .value());
     },
     "failure urlPayloadDecompressionFailed"},

    {"namespace",
     [] { return withEnvelope<[](Envelope& e) { e.namespace_ = "com.ostrel.tilvane.handoff"; }>(); },
     "failure urlPayloadInvalid"},
    {"schema version", [] { return withEnvelope<[](Envelope& e) { e.schemaVersion = 2; }>(); },
     "failure urlPayloadInvalid"},
    {"direction",
     [] {
       return withEnvelope<[](Envelope& e) { e.direction = detail::PaymentHandoffDirection::request; }>();
     },
     "failure urlPayloadInvalid"},
    {"request id", [] { return withEnvelope<[](Envelope& e) { e.requestId = "a-1"; }>(); },
     "failure urlPayloadInvalid"},
    {"an inner request id of another payment",
     [] { return withEnvelope<[](Envelope& e) { e.payload.queryItems["request_id"] = "B"; }>(); },
     "failure requestIdMismatch +"},
    {"no items", [] { return withEnvelope<[](Envelope& e) { e.payload.queryItems.clear(); }>(); },
     "failure missingStatus +"},
    {"another callback URL", [] { return replaced(goodCallback(), "done", "else"); }, "unhandled"},
};

class CompressedCallback : public testing::TestWithParam<Callback> {};

TEST_P(CompressedCallback, ComesTo) {
  EXPECT_EQ(PendingPayment().handle(GetParam().make()), GetParam().outcome);
}

INSTANTIATE_TEST_SUITE_P(Rules, CompressedCallback, testing::ValuesIn(callbacks),
                         [](const auto& one) { return "case" + std::to_string(one.index); });

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
