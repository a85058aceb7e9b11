// Any bytes as a sealed envelope: as its JSON, and, under a first byte that says what to change, as the
// plaintext of one that was sealed. What opens was sealed for the same handoff, request, direction and
// expiry.

#include <tilvanego/json/JSON.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/transports/HandoffEnvelope.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;
using namespace tilvanego::detail;

/// The plaintext of an envelope that says of itself that it answers `requestId`.
std::optional<std::string> opened(const PaymentHandoffEnvelope& envelope, std::string_view requestId,
                                  const Date& now) {
  Bytes box;
  const auto text = openPlaintext(envelope, PaymentHandoffDirection::result, requestId, now, box);
  if (!text) return std::nullopt;
  require(envelope.expiresAt >= now && envelope.requestId == requestId && envelope.hasExpectedForm() &&
          envelope.direction == PaymentHandoffDirection::result);
  return std::string(*text);
}

void readJSON(std::string_view text) {
  const auto envelope = json::decode<PaymentHandoffEnvelope>(text);
  if (!envelope) return;
  const auto written = json::encode(*envelope, envelopeFormat);
  if (written) require(json::decode<PaymentHandoffEnvelope>(*written).has_value());
  const auto plaintext = opened(*envelope, envelope->requestId, envelope->expiresAt);
  if (!plaintext) return;
  // Whoever wrote it knew the key: the same text under any other id doesn't open.
  auto other = *envelope;
  other.handoffId += "x";
  require(!opened(other, other.requestId, other.expiresAt));
}

void sealAndOpen(std::uint8_t change, std::string_view plaintext) {
  static const Date createdAt = Date::fromSecondsSince1970(1'795'261'010.5);
  OpenSSLRandomSource random;
  auto envelope =
      sealPlaintext(plaintext, PaymentHandoffDirection::result, "handoff", "A-1", createdAt, random).value();
  require(opened(envelope, "A-1", createdAt) == plaintext);
  if (const auto payload = json::decode<PaymentHandoffResultPayload>(plaintext)) {
    require(openHandoffEnvelope<PaymentHandoffResultPayload>(envelope, PaymentHandoffDirection::result, "A-1",
                                                             createdAt)
                .value() == *payload);
  }
  // One character of what was sealed, or one thing that it was sealed for. The last character may hold bits
  // that stand for nothing.
  switch (change % 4) {
    case 0: {
      char& character = envelope.ciphertext[change * 7 % (envelope.ciphertext.size() - 1)];
      character = character == 'A' ? 'B' : 'A';
      break;
    }
    case 1:
      envelope.handoffId = "another";
      break;
    case 2:
      envelope.requestId = "A-2";
      break;
    default:
      envelope.expiresAt = Date::fromSecondsSince1970(envelope.expiresAt.secondsSince1970() + 1 + change);
  }
  require(!opened(envelope, envelope.requestId, createdAt));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = textOf(data, size);
  readJSON(text);
  if (size > 0) sealAndOpen(data[0], text.substr(1));
  return 0;
}
