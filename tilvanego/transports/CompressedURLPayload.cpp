#include <tilvanego/transports/CompressedURLPayload.h>

#include <algorithm>

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/QueryLookup.h>
#include <tilvanego/payment/PaymentOperation.h>
#include <tilvanego/transports/Gzip.h>
#include <tilvanego/values/Base64.h>
#include <tilvanego/values/Text.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {
namespace {

constexpr std::string_view gzipTransport = "gzip";

std::unexpected<PaymentError> tooLarge() {
  return std::unexpected<PaymentError>(PaymentError::UrlPayloadTooLarge{});
}
std::unexpected<PaymentError> invalid() {
  return std::unexpected<PaymentError>(PaymentError::UrlPayloadInvalid{});
}

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// The callback URL that has the items of a result's envelope.
std::expected<URL, URLPayloadFailure> unpackedCallback(const URL& url, const URL& expectedCallbackURL,
                                                       const std::string& expectedRequestId) {
  const auto envelope = decodeURLPayload<PaymentURLResultPayload>(url);
  if (!envelope) return std::unexpected(envelope.error());
  if (!envelope->hasExpectedForm() || envelope->direction != PaymentHandoffDirection::result ||
      envelope->requestId != expectedRequestId) {
    return invalid();
  }
  auto rebuilt = rebuiltCallback(expectedCallbackURL, envelope->payload.queryItems);
  if (!rebuilt) return invalid();
  return *std::move(rebuilt);
}

/// The error for the host. Wrong JSON is reported as a failed decompression.
PaymentError reported(const URLPayloadFailure& failure) {
  const auto* error = std::get_if<PaymentError>(&failure);
  return error != nullptr ? *error : PaymentError::UrlPayloadDecompressionFailed{};
}

}  // namespace

std::expected<CompressedPayload, PaymentError> compressPayloadJSON(std::string_view json) {
  if (json.size() > maxPayloadJSON) return tooLarge();
  auto compressed = gzipCompress(bytesOf(json));
  const WipedAtEnd wiped(compressed);
  if (!compressed) return std::unexpected(std::move(compressed).error());
  if (compressed->size() > maxPayloadGzip) return tooLarge();
  return CompressedPayload{
      .text = base64URLEncode(*compressed), .jsonSize = json.size(), .compressedSize = compressed->size()};
}

std::expected<std::string, PaymentError> payloadJSON(const URL& url) {
  if (queryValue(url, {"encoding"}) != payloadEncoding) return invalid();
  auto payload = queryValue(url, {"payload"});
  const WipedAtEnd wipedPayload(payload);
  const auto jsonSize = queryCount(url, {"payload_size", "payloadSize"});
  const auto compressedSize = queryCount(url, {"compressed_size", "compressedSize"});
  if (!payload || !jsonSize || !compressedSize) return invalid();
  auto compressed = base64URLDecode(*payload);
  const WipedAtEnd wipedCompressed(compressed);
  if (!compressed) return invalid();
  // A wrong compressed size counts as too large, too.
  if (*compressedSize > maxPayloadGzip || *compressedSize != compressed->size() ||
      *jsonSize > maxPayloadJSON) {
    return tooLarge();
  }
  auto json = gzipDecompress(*compressed, maxPayloadJSON, static_cast<std::size_t>(*jsonSize));
  if (json && json->size() != *jsonSize) {
    wipe(json);
    return invalid();
  }
  return json;
}

std::expected<URL, URLPayloadFailure> compressedPaymentAppURL(const PaymentRequest& request,
                                                              const Platform& platform) {
  auto payload = encodeCompressedPayload(makeURLPayloadEnvelope(PaymentHandoffDirection::request,
                                                                request.requestId(), platform.clock->now(),
                                                                PaymentHandoffRequestPayload::of(request)));
  if (request.credentials()) wipeGzipMemory();
  if (!payload) return std::unexpected(payload.error());
  const WipedAtEnd wipedPayload(payload->text);

  LinkItems items;
  items.add("transport", gzipTransport);
  items.add("encoding", payloadEncoding);
  items.add("payload", payload->text);
  items.addText("payload_size", std::to_string(payload->jsonSize));
  items.addText("compressed_size", std::to_string(payload->compressedSize));
  items.add("callbackUrl", request.callbackURL().absoluteString());
  items.add("requestId", request.requestId());
  items.add("sdkVersion", sdkVersion);
  auto url = writeLink(PaymentOperation::texts.target, items.items());
  const WipedAtEnd wipedURL(url);
  if (!url) return invalid();
  if (url->absoluteString().size() > maxCompressedURL) return tooLarge();
  platform.debugOutput->writeLine("CompressedURL: " + redactedPayloadURL(url));
  return *std::move(url);
}

bool isCompressed(const URL& url) {
  return std::ranges::any_of(url.rawQueryItems(), [](const RawQueryItem& item) {
    if (!isNamed(item, "transport")) return false;
    const auto value = item.value.decoded();
    return value && equalIgnoringCase(*value, gzipTransport);
  });
}

std::optional<PaymentResult> compressedPaymentResult(const URL& url, const URL& expectedCallbackURL,
                                                     const std::string& expectedRequestId) {
  if (!callbackURLsMatch(url, expectedCallbackURL) || !isCompressed(url)) return std::nullopt;
  auto callback = unpackedCallback(url, expectedCallbackURL, expectedRequestId);
  if (!callback) return PaymentResult::Failure{reported(callback.error()), std::nullopt};
  return parseCallback<PaymentOperation>(*std::move(callback), &expectedRequestId, &expectedCallbackURL);
}

}  // namespace support
}  // namespace tilvanego
