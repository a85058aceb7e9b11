#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <tilvanego/sandbox/Carried.h>
#include <tilvanego/transports/CompressedURLPayload.h>
#include <tilvanego/transports/Gzip.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>

namespace tilvanego::sandbox {
namespace {

using detail::HandoffFailure;
using detail::PaymentHandoffDirection;
using detail::PaymentHandoffError;
using Payload = detail::PaymentHandoffRequestPayload;

/// Shows only the position of the fault: the text around it may be a secret.
std::string notTheExpectedJSON(const JSONError& error) {
  return "isn't the expected JSON (byte " + std::to_string(error.offset) + ")";
}

std::string described(const detail::URLPayloadFailure& failure) {
  if (const auto* json = std::get_if<JSONError>(&failure)) return notTheExpectedJSON(*json);
  const auto& error = std::get<PaymentError>(failure);
  if (std::holds_alternative<PaymentError::UrlPayloadTooLarge>(error)) {
    return "is larger than it may be, or hasn't its compressed_size";
  }
  if (std::holds_alternative<PaymentError::UrlPayloadDecompressionFailed>(error)) return "is no gzip stream";
  return "isn't gzip-json in URL-safe base64, or hasn't its payload_size";
}

std::string described(const HandoffFailure& failure) {
  if (const auto* json = std::get_if<JSONError>(&failure)) return notTheExpectedJSON(*json);
  if (std::holds_alternative<detail::HandoffCipherError>(failure)) {
    return "can't be decrypted: it was changed, or sealed for another link";
  }
  if (const auto* pasteboard = std::get_if<detail::PasteboardFailure>(&failure)) return pasteboard->reason;
  switch (std::get<PaymentHandoffError>(failure)) {
    case PaymentHandoffError::payloadMissing:
      return "isn't this link's, or there is none";
    case PaymentHandoffError::payloadExpired:
      return "has expired";
    case PaymentHandoffError::invalidPayload:
      break;
  }
  return "is no request, or another one than the link's";
}

/// The items of a link with a compressed or sealed request.
class Carrier {
 public:
  explicit Carrier(const std::vector<QueryItem>& items) : items_(items) {}

  [[nodiscard]] std::expected<void, SandboxError> require(
      std::initializer_list<std::string_view> names) const {
    for (const std::string_view name : names) {
      if (find(name) == items_.end()) return wrong("the link has no " + std::string(name));
    }
    return {};
  }
  /// The value of an item that `require` has found.
  [[nodiscard]] const std::string& at(std::string_view name) const { return *find(name)->value; }

 private:
  [[nodiscard]] std::vector<QueryItem>::const_iterator find(std::string_view name) const {
    return std::ranges::find(items_, name, &QueryItem::name);
  }

  const std::vector<QueryItem>& items_;
};

std::expected<Payload, SandboxError> compressedRequest(const URL& link, const Carrier& carrier) {
  if (auto complete = carrier.require({"encoding", "payload", "payload_size", "compressed_size"});
      !complete) {
    return std::unexpected(std::move(complete).error());
  }
  auto envelope = detail::decodeURLPayload<Payload>(link);
  detail::wipeGzipMemory();
  if (!envelope) return wrong("the link's payload " + described(envelope.error()));
  if (!envelope->hasExpectedForm()) return wrong("the link's payload is of another kind or version");
  if (envelope->direction != PaymentHandoffDirection::request)
    return wrong("the link's payload is no request");
  if (envelope->requestId != carrier.at("requestId")) return wrong("the link's payload is another request's");
  return std::move(envelope->payload);
}

std::expected<Payload, SandboxError> sealedRequest(const Carrier& carrier, const HandoffPorts& ports) {
  if (auto complete = carrier.require({"handoffId"}); !complete) {
    return std::unexpected(std::move(complete).error());
  }
  if (ports.pasteboard == nullptr) {
    return wrong("the link's request lies on the pasteboard, and this sandbox was given none");
  }
  const Date now = ports.clock->now();
  const auto envelope = detail::readHandoffEnvelope(*ports.pasteboard, carrier.at("handoffId"), now);
  if (!envelope) return wrong("what lies on the pasteboard " + described(envelope.error()));
  auto payload = detail::openHandoffEnvelope<Payload>(*envelope, PaymentHandoffDirection::request,
                                                      carrier.at("requestId"), now);
  if (!payload) return wrong("what is sealed on the pasteboard " + described(payload.error()));
  return *std::move(payload);
}

std::vector<QueryItem> itemsOf(Payload&& payload) {
  std::vector<QueryItem> items;
  // Reserved: a vector that grows would leave a copy of a short token in freed memory.
  items.reserve(12);
  const auto add = [&](std::string_view name, std::optional<std::string>&& value) {
    if (value) items.push_back({std::string(name), std::move(value)});
  };
  add("request_id", std::move(payload.requestId));
  add("amount", std::move(payload.amount));
  add("type", std::move(payload.type));
  add("currency", std::move(payload.currency));
  add("return_url", std::move(payload.callbackURL));
  add("tip", std::move(payload.tip));
  add("custom_id", std::move(payload.customId));
  add("notes", std::move(payload.notes));
  if (const auto& credentials = payload.credentials) {
    add("basic_token", credentials->basicToken());
    add("account_id", credentials->accountId());
    add("environment", credentials->environment());
  }
  add("require_reader_ready", payload.requiresReaderReady ? "true" : "false");
  return items;
}

}  // namespace

std::expected<std::vector<QueryItem>, SandboxError> carriedRequest(const URL& link, Transport transport,
                                                                   const std::vector<QueryItem>& items,
                                                                   const HandoffPorts& ports) {
  const Carrier carrier(items);
  if (auto complete = carrier.require({"callbackUrl", "requestId", "sdkVersion"}); !complete) {
    return std::unexpected(std::move(complete).error());
  }
  auto payload = guarded([&] {
    return transport == Transport::gzip ? compressedRequest(link, carrier) : sealedRequest(carrier, ports);
  });
  if (!payload) return std::unexpected(std::move(payload).error());
  if (payload->requestId != carrier.at("requestId")) return wrong("the link's requestId isn't its request's");
  if (payload->callbackURL != carrier.at("callbackUrl")) {
    return wrong("the link's callbackUrl isn't its request's");
  }
  return itemsOf(*std::move(payload));
}

}  // namespace tilvanego::sandbox
