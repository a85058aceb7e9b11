#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/json/JSON.h>
#include <tilvanego/json/ValueCodecs.h>
#include <tilvanego/payment/PaymentCredentials.h>
#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/RawText.h>
#include <tilvanego/values/Support.h>
#include <tilvanego/values/URL.h>

/// The records that travel between a host and the payment application in envelopes. Both sides write and read
/// them.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// How the envelopes and what is in them are written: keys in ascending order, no white space, dates in whole
/// seconds of UTC.
inline constexpr JSONFormat envelopeFormat{.sortedKeys = true, .pretty = false, .dates = nullptr};

/// What the links and envelopes call the version of this library. The payment application answers by it, so
/// it stays as it is while the wire forms do.
inline constexpr std::string_view sdkVersion = "1.0.0";

/// Which way an envelope goes.
enum class PaymentHandoffDirection { request, result };

}  // namespace support
}  // namespace tilvanego

template <>
struct tilvanego::RawTexts<tilvanego::detail::PaymentHandoffDirection> {
  static constexpr std::array table{
      std::pair{detail::PaymentHandoffDirection::request, std::string_view("request")},
      std::pair{detail::PaymentHandoffDirection::result, std::string_view("result")},
  };
};

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// A payment request as either envelope carries it, credentials included.
struct PaymentHandoffRequestPayload {
  std::string requestId;
  /// Amount and tip in plain positional form, as the inline link has them.
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

/// The items that the payment application would else have put on the callback URL.
using ResultQueryItems = std::map<std::string, std::string, std::less<>>;

/// A payment's result in a sealed envelope.
struct PaymentHandoffResultPayload {
  ResultQueryItems queryItems;
  bool operator==(const PaymentHandoffResultPayload&) const = default;

  static constexpr auto jsonFields() {
    return json::fields(json::field("queryItems", &PaymentHandoffResultPayload::queryItems));
  }
};

/// A payment's result in a compressed envelope. Its key is another one than in a sealed envelope.
struct PaymentURLResultPayload {
  ResultQueryItems queryItems;
  bool operator==(const PaymentURLResultPayload&) const = default;

  static constexpr auto jsonFields() {
    return json::fields(json::field("query_items", &PaymentURLResultPayload::queryItems));
  }
};

/// What lies on the pasteboard. Its keys are in camel case.
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

/// What is compressed into a URL. Its keys are in snake case.
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

/// The callback URL that a result's items would have made: scheme, host and path of `expectedCallbackURL`,
/// and the items in the order of their names. Nothing if there is no such URL.
[[nodiscard]] std::optional<URL> rebuiltCallback(const URL& expectedCallbackURL,
                                                 const ResultQueryItems& items);

}  // namespace support
}  // namespace tilvanego
