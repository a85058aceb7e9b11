#include <tilvanego/transports/PaymentPasteboardHandoff.h>

#include <utility>
#include <variant>

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/QueryLookup.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/payment/PaymentOperation.h>
#include <tilvanego/values/Text.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {
namespace {

constexpr std::string_view pasteboardTransport = "pasteboard";

/// The text of a value, or its bytes as UTF-8; nothing if it is empty.
std::optional<std::string> textOf(const PasteboardValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    return text->empty() ? std::nullopt : std::optional(*text);
  }
  const Bytes& bytes = std::get<Bytes>(value);
  std::string text(bytes.begin(), bytes.end());
  return text.empty() || !isValidUTF8(text) ? std::nullopt : std::optional(std::move(text));
}

std::optional<std::string> textOf(const PasteboardItem& item) {
  for (const std::string_view type : handoffTextTypes) {
    const auto found = item.find(type);
    if (found == item.end()) continue;
    if (auto text = textOf(found->second)) return text;
  }
  for (const auto& [type, value] : item) {
    if (auto text = textOf(value)) return text;
  }
  return std::nullopt;
}

/// Returns the first text that isn't empty, in this order: the pasteboard's own text; an item's value of a
/// type in `handoffTextTypes`, as text or as UTF-8; an item's value of any other type.
std::optional<std::string> pasteboardHandoffText(const Pasteboard& pasteboard) try {
  if (auto text = pasteboard.string(); text && !text->empty()) return text;
  for (const PasteboardItem& item : pasteboard.items()) {
    if (auto text = textOf(item)) return text;
  }
  return std::nullopt;
} catch (...) {
  // A pasteboard that can't be read counts as empty.
  return std::nullopt;
}

/// The callback URL that has the items of a result's envelope.
std::expected<URL, HandoffFailure> unsealedCallback(const PaymentHandoffEnvelope& envelope,
                                                    const URL& expectedCallbackURL,
                                                    const std::string& expectedRequestId, const Date& now) {
  const auto payload = openHandoffEnvelope<PaymentHandoffResultPayload>(
      envelope, PaymentHandoffDirection::result, expectedRequestId, now);
  if (!payload) return std::unexpected(payload.error());
  auto rebuilt = rebuiltCallback(expectedCallbackURL, payload->queryItems);
  if (!rebuilt) return std::unexpected(PaymentHandoffError::invalidPayload);
  return *std::move(rebuilt);
}

/// The error for the host. Failures of the cipher and of the JSON reader are the same error.
PaymentError reported(const HandoffFailure& failure) {
  if (std::holds_alternative<PasteboardFailure>(failure)) return PaymentError::PasteboardHandoffUnavailable{};
  const auto* error = std::get_if<PaymentHandoffError>(&failure);
  if (error == nullptr) return PaymentError::PasteboardHandoffDecryptionFailed{};
  switch (*error) {
    case PaymentHandoffError::payloadMissing:
      return PaymentError::PasteboardHandoffMissing{};
    case PaymentHandoffError::payloadExpired:
      return PaymentError::PasteboardHandoffExpired{};
    case PaymentHandoffError::invalidPayload:
      break;
  }
  return PaymentError::PasteboardHandoffInvalid{};
}

PaymentResult failed(const HandoffFailure& failure) {
  return PaymentResult::Failure{reported(failure), std::nullopt};
}

}  // namespace

std::expected<void, std::string> placeHandoffText(Pasteboard& pasteboard, std::string text,
                                                  const Date& expiration) {
  PasteboardItem item;
  for (const std::string_view type : handoffTextTypes) {
    // The text may be long: the last type gets it by a move.
    item.emplace(type, type == handoffTextTypes.back() ? std::move(text) : text);
  }
  std::vector<PasteboardItem> items;
  items.push_back(std::move(item));
  try {
    return pasteboard.setItems(std::move(items), {.localOnly = true, .expirationDate = expiration});
  } catch (...) {
    return std::unexpected("Pasteboard::setItems threw an exception.");
  }
}

std::expected<void, HandoffFailure> writeHandoffEnvelope(Pasteboard& pasteboard,
                                                         const PaymentHandoffEnvelope& envelope) {
  auto text = json::encode(envelope, envelopeFormat);
  if (!text) return std::unexpected(text.error());
  auto kept = placeHandoffText(pasteboard, *std::move(text), envelope.expiresAt);
  if (!kept) return std::unexpected(PasteboardFailure{std::move(kept).error()});
  return {};
}

std::expected<PaymentHandoffEnvelope, HandoffFailure> readHandoffEnvelope(Pasteboard& pasteboard,
                                                                          std::string_view handoffId,
                                                                          const Date& now) {
  const auto text = pasteboardHandoffText(pasteboard);
  if (!text) return std::unexpected(PaymentHandoffError::payloadMissing);
  auto envelope = json::decode<PaymentHandoffEnvelope>(*text);
  if (!envelope) return std::unexpected(std::move(envelope).error());
  if (!envelope->hasExpectedForm() || envelope->handoffId != handoffId) {
    return std::unexpected(PaymentHandoffError::payloadMissing);
  }
  if (envelope->expiresAt < now) {
    clearHandoffEnvelope(pasteboard, handoffId);
    return std::unexpected(PaymentHandoffError::payloadExpired);
  }
  return *std::move(envelope);
}

void clearHandoffEnvelope(Pasteboard& pasteboard, std::string_view handoffId) {
  // Read again: another program may have replaced the contents.
  const auto text = pasteboardHandoffText(pasteboard);
  if (!text) return;
  const auto envelope = json::decode<PaymentHandoffEnvelope>(*text);
  if (!envelope || envelope->namespace_ != PaymentHandoffEnvelope::expectedNamespace ||
      envelope->handoffId != handoffId) {
    return;
  }
  try {
    // An envelope that couldn't be removed disappears when it expires.
    [[maybe_unused]] const auto emptied = pasteboard.setItems({});
  } catch (...) {
  }
}

std::expected<URL, HandoffFailure> pasteboardPaymentAppURL(const PaymentRequest& request,
                                                           const Platform& platform) {
  if (!platform.pasteboard) return std::unexpected(PasteboardFailure{"The platform has no pasteboard."});
  const auto handoffId = makeHandoffId(*platform.randomSource);
  if (!handoffId) return std::unexpected(handoffId.error());
  const auto envelope =
      sealHandoffEnvelope(PaymentHandoffRequestPayload::of(request), PaymentHandoffDirection::request,
                          *handoffId, request.requestId(), platform.clock->now(), *platform.randomSource);
  if (!envelope) return std::unexpected(envelope.error());
  if (auto written = writeHandoffEnvelope(*platform.pasteboard, *envelope); !written) {
    return std::unexpected(std::move(written).error());
  }

  LinkItems items;
  items.add("handoffId", *handoffId);
  items.add("transport", pasteboardTransport);
  items.add("callbackUrl", request.callbackURL().absoluteString());
  items.add("sdkVersion", sdkVersion);
  items.add("requestId", request.requestId());
  auto url = writeLink(PaymentOperation::texts.target, items.items());
  platform.debugOutput->writeLine("PasteboardPaymentAppURL: " + redactedURLText(url));
  if (!url) return std::unexpected(PaymentHandoffError::invalidPayload);
  return *std::move(url);
}

std::optional<std::string> resultHandoffId(const URL& url) {
  // The case of this value matters; that of the compressed transport's name doesn't.
  if (queryValue(url, {"transport"}) != pasteboardTransport) return std::nullopt;
  return queryValue(url, {"resultHandoffId", "result_handoff_id"});
}

std::optional<PaymentResult> pasteboardPaymentResult(const URL& url, const URL& expectedCallbackURL,
                                                     const std::string& expectedRequestId,
                                                     const Platform& platform,
                                                     const UnsealedListener& unsealed) {
  if (!callbackURLsMatch(url, expectedCallbackURL)) return std::nullopt;
  const auto handoffId = resultHandoffId(url);
  if (!handoffId) return std::nullopt;

  if (!platform.pasteboard) return failed(PasteboardFailure{"The platform has no pasteboard."});
  Pasteboard& pasteboard = *platform.pasteboard;
  const Date now = platform.clock->now();
  const auto envelope = readHandoffEnvelope(pasteboard, *handoffId, now);
  if (!envelope) return failed(envelope.error());
  auto callback = unsealedCallback(*envelope, expectedCallbackURL, expectedRequestId, now);
  if (callback && unsealed) unsealed(*callback);
  auto result = callback ? parseCallback<PaymentOperation>(*std::move(callback), &expectedRequestId,
                                                           &expectedCallbackURL)
                         : failed(callback.error());
  clearHandoffEnvelope(pasteboard, *handoffId);
  return result;
}

}  // namespace support
}  // namespace tilvanego
