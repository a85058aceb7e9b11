#include <tilvanego/transports/HandoffEnvelope.h>

#include <array>
#include <cmath>
#include <cstdint>

#include <tilvanego/values/Base64.h>
#include <tilvanego/values/URLComponents.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {
namespace {

// Rounded to whole seconds, so that the text in the envelope and the authenticated seconds are the same
// instant.
Date expiryOf(const Date& createdAt) {
  return Date::fromSecondsSince1970(std::floor(createdAt.secondsSince1970() + handoffLifetime));
}

/// Whether a `double` holds the seconds of this instant exactly. No calendar date is beyond the limit.
bool isCountable(const Date& date) {
  constexpr double limit = 9e15;
  return std::abs(date.secondsSince1970()) < limit;
}

}  // namespace

PaymentHandoffRequestPayload PaymentHandoffRequestPayload::of(const PaymentRequest& request) {
  return {.requestId = request.requestId(),
          .amount = request.amount().text(),
          .tip = request.tip().transform([](const Decimal& tip) { return tip.text(); }),
          .type = std::string(rawText(request.transactionType())),
          .currency = request.currency(),
          .callbackURL = request.callbackURL().absoluteString(),
          .customId = request.customId(),
          .notes = request.notes(),
          .credentials = request.credentials(),
          .requiresReaderReady = request.requiresReaderReady()};
}

std::optional<URL> rebuiltCallback(const URL& expectedCallbackURL, const ResultQueryItems& items) {
  URLComponents parts{
      .scheme = expectedCallbackURL.scheme().transform([](auto text) { return std::string(text); }),
      .host = expectedCallbackURL.host(),
      .path = expectedCallbackURL.path(),
      .queryItems = std::vector<QueryItem>()};
  parts.queryItems->reserve(items.size());
  for (const auto& [name, value] : items) parts.queryItems->push_back({name, value});
  return parts.url();
}

std::expected<std::string, PaymentHandoffError> makeHandoffId(RandomSource& randomSource) {
  std::array<std::uint8_t, 32> bytes;
  if (!randomSource.fill(bytes)) return std::unexpected(PaymentHandoffError::invalidPayload);
  return base64URLEncode(bytes);
}

std::expected<PaymentHandoffEnvelope, HandoffFailure> sealPlaintext(
    std::string_view plaintext, PaymentHandoffDirection direction, std::string_view handoffId,
    std::string_view requestId, const Date& createdAt, RandomSource& randomSource) {
  const Date expiresAt = expiryOf(createdAt);
  if (!isCountable(expiresAt)) return std::unexpected(PaymentHandoffError::invalidPayload);
  const auto key = handoffKey(direction, handoffId, requestId);
  if (!key) return std::unexpected(key.error());
  const auto box = sealBox(*key, handoffAssociatedData(direction, handoffId, requestId, expiresAt), plaintext,
                           randomSource);
  if (!box) return std::unexpected(box.error());
  return PaymentHandoffEnvelope{
      .namespace_ = std::string(PaymentHandoffEnvelope::expectedNamespace),
      .schemaVersion = PaymentHandoffEnvelope::expectedSchemaVersion,
      .direction = direction,
      .handoffId = std::string(handoffId),
      .requestId = std::string(requestId),
      .sdkVersion = std::string(sdkVersion),
      .createdAt = createdAt,
      .expiresAt = expiresAt,
      .ciphertext = base64URLEncode({reinterpret_cast<const std::uint8_t*>(box->data()), box->size()})};
}

std::expected<std::string_view, HandoffFailure> openPlaintext(const PaymentHandoffEnvelope& envelope,
                                                              PaymentHandoffDirection direction,
                                                              std::string_view expectedRequestId,
                                                              const Date& now, Bytes& box) {
  if (!envelope.hasExpectedForm() || envelope.direction != direction ||
      envelope.requestId != expectedRequestId || !isCountable(envelope.expiresAt)) {
    return std::unexpected(PaymentHandoffError::invalidPayload);
  }
  if (envelope.expiresAt < now) return std::unexpected(PaymentHandoffError::payloadExpired);
  auto decoded = base64URLDecode(envelope.ciphertext);
  if (!decoded) return std::unexpected(PaymentHandoffError::invalidPayload);
  box = *std::move(decoded);
  const auto key = handoffKey(direction, envelope.handoffId, envelope.requestId);
  if (!key) return std::unexpected(key.error());
  const auto plaintext = openBox(
      *key, handoffAssociatedData(direction, envelope.handoffId, envelope.requestId, envelope.expiresAt),
      box);
  if (!plaintext) return std::unexpected(plaintext.error());
  return *plaintext;
}

}  // namespace support
}  // namespace tilvanego
