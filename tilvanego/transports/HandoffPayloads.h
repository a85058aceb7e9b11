#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/json/CodingKeys.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/json/ValueCodecs.h>
#include <tilvanego/payment/PaymentCredentials.h>
#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/RawText.h>
#include <tilvanego/values/Support.h>
#include <tilvanego/values/URL.h>

/// The envelopes between a host and the payment application, and the records in them. Both sides write and
/// read them.
namespace [[gnu::visibility("default")]] tilvanego {
namespace support {

/// The JSON form of envelopes and their records: keys in ascending order, no white space, dates in UTC with
/// whole seconds.
inline constexpr JSONFormat envelopeFormat{.sortedKeys = true, .pretty = false, .dates = nullptr};

/// The library version in links and envelopes. The form of the payment application's response depends on it,
/// so it changes only when the wire forms change.
inline constexpr std::string_view sdkVersion = "1.0.0";

/// The direction of an envelope: to the payment application, or back.
enum class PaymentHandoffDirection { request, result };

}  // namespace support

template <>
inline constexpr bool json::namesAreTexts<support::PaymentHandoffDirection> = true;

namespace support {

/// A payment request in an envelope of either kind, with its credentials.
struct PaymentHandoffRequestPayload {
  std::string requestId;
  /// Amount and tip are decimals without an exponent, as in the inline link.
  std::string amount;
  std::optional<std::string> tip = std::nullopt;
  /// The raw text of a `PaymentTransactionType`.
  std::string type;
  std::string currency;
  std::string callbackURL;
  std::optional<std::string> customId = std::nullopt;
  std::optional<std::string> notes = std::nullopt;
  std::optional<PaymentCredentials> credentials = std::nullopt;
  bool requiresReaderReady = true;
  bool operator==(const PaymentHandoffRequestPayload&) const = default;

  [[nodiscard]] static PaymentHandoffRequestPayload of(const PaymentRequest& request);

  static constexpr auto jsonFields() {
    using Payload = PaymentHandoffRequestPayload;
    return json::fields(json::field("request_id", &Payload::requestId),
                        json::field("amount", &Payload::amount), json::field("tip", &Payload::tip),
                        json::field("type", &Payload::type), json::field("currency", &Payload::currency),
                        json::field("return_url", &Payload::callbackURL),
                        json::field("custom_id", &Payload::customId), json::field("notes", &Payload::notes),
                        json::field("credentials", &Payload::credentials),
                        json::field("require_reader_ready", &Payload::requiresReaderReady));
  }
};

/// The query items that the callback URL would have if it carried the result itself.
using ResultQueryItems = std::map<std::string, std::string, std::less<>>;

/// A payment's result in a sealed envelope.
struct PaymentHandoffResultPayload {
  ResultQueryItems queryItems;
  bool operator==(const PaymentHandoffResultPayload&) const = default;

  static constexpr auto jsonFields() {
    return json::fields(json::field("queryItems", &PaymentHandoffResultPayload::queryItems));
  }
};

/// A payment's result in a compressed envelope. Its JSON key differs from that of a sealed envelope.
struct PaymentURLResultPayload {
  ResultQueryItems queryItems;
  bool operator==(const PaymentURLResultPayload&) const = default;

  static constexpr auto jsonFields() {
    return json::fields(json::field("query_items", &PaymentURLResultPayload::queryItems));
  }
};

/// The sealed envelope on the pasteboard. Its keys are in camel case.
struct PaymentHandoffEnvelope {
  static constexpr std::string_view expectedNamespace = "com.ostrel.tilvane.handoff";
  static constexpr std::int64_t expectedSchemaVersion = 1;

  std::string namespace_;
  std::int64_t schemaVersion = 0;
  PaymentHandoffDirection direction = PaymentHandoffDirection::request;
  std::string handoffId;
  std::string requestId;
  std::string sdkVersion;
  Date createdAt;
  /// Whole seconds.
  Date expiresAt;
  /// Nonce, ciphertext and tag in URL-safe base64.
  std::string ciphertext;
  bool operator==(const PaymentHandoffEnvelope&) const = default;

  [[nodiscard]] bool hasExpectedForm() const {
    return namespace_ == expectedNamespace && schemaVersion == expectedSchemaVersion;
  }

  static constexpr auto jsonFields() {
    using Envelope = PaymentHandoffEnvelope;
    return json::fields(
        json::field("namespace", &Envelope::namespace_),
        json::field("schemaVersion", &Envelope::schemaVersion),
        json::field("direction", &Envelope::direction), json::field("handoffId", &Envelope::handoffId),
        json::field("requestId", &Envelope::requestId), json::field("sdkVersion", &Envelope::sdkVersion),
        json::field("createdAt", &Envelope::createdAt), json::field("expiresAt", &Envelope::expiresAt),
        json::field("ciphertext", &Envelope::ciphertext));
  }
};

/// The envelope that a URL carries compressed. Its keys are in snake case.
template <typename Payload>
struct PaymentURLPayloadEnvelope {
  static constexpr std::string_view expectedNamespace = "com.ostrel.tilvane.urlpayload";
  static constexpr std::int64_t expectedSchemaVersion = 1;

  std::string namespace_;
  std::int64_t schemaVersion = 0;
  PaymentHandoffDirection direction = PaymentHandoffDirection::request;
  std::string requestId;
  /// Never compared with a clock.
  Date createdAt;
  Payload payload;
  bool operator==(const PaymentURLPayloadEnvelope&) const = default;

  [[nodiscard]] bool hasExpectedForm() const {
    return namespace_ == expectedNamespace && schemaVersion == expectedSchemaVersion;
  }

  static constexpr auto jsonFields() {
    using Envelope = PaymentURLPayloadEnvelope;
    return json::fields(
        json::field("namespace", &Envelope::namespace_),
        json::field("schema_version", &Envelope::schemaVersion),
        json::field("direction", &Envelope::direction), json::field("request_id", &Envelope::requestId),
        json::field("created_at", &Envelope::createdAt), json::field("payload", &Envelope::payload));
  }
};

/// Builds the callback URL that would carry `items` itself: scheme, host and path of `expectedCallbackURL`,
/// then the items in the order of their names. Nothing if they don't make a URL.
[[nodiscard]] std::optional<URL> rebuiltCallback(const URL& expectedCallbackURL,
                                                 const ResultQueryItems& items);

}  // namespace support
}  // namespace tilvanego
