#include <array>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/sandbox/Carried.h>
#include <tilvanego/transports/CompressedURLPayload.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>

namespace tilvanego::sandbox {
namespace {

using detail::PaymentHandoffDirection;
using detail::PaymentHandoffEnvelope;

constexpr std::string_view plainText = "approved";

constexpr KeyNames payloadSizeNames{"payload_size", "payloadSize"};
constexpr KeyNames compressedSizeNames{"compressed_size", "compressedSize"};
constexpr KeyNames handoffIdNames{"resultHandoffId", "result_handoff_id"};

constexpr std::array sealedOrCompressed{Transport::gzip, Transport::pasteboard};
constexpr std::array sealedAlone{Transport::pasteboard};
constexpr std::array compressedAlone{Transport::gzip};

/// The direction and request id of a response's envelope.
struct Label {
  PaymentHandoffDirection direction;
  std::string requestId;
};

Label labelOf(const LaunchLink& link, const Decision& decision) {
  Label label{PaymentHandoffDirection::result, link.requestId().value_or("")};
  if (decision.fault == TransportFault::wrongDirection) label.direction = PaymentHandoffDirection::request;
  if (decision.fault == TransportFault::wrongRequestId) label.requestId += "-other";
  return label;
}

detail::ResultQueryItems mapOf(std::vector<QueryItem> items) {
  detail::ResultQueryItems map;
  for (auto& [name, value] : items) map.emplace(std::move(name), *std::move(value));
  return map;
}

/// Changes base64 text within its last eight bytes. These hold the checksum and length of a gzip stream, and
/// a part of a sealed box's tag, so every reader detects the change.
void tamper(std::string& text) {
  char& letter = text.at(text.size() - 8);
  letter = letter == 'A' ? 'B' : 'A';
}

std::expected<PaymentHandoffEnvelope, detail::HandoffFailure> sealed(const LaunchLink& link,
                                                                     const Decision& decision,
                                                                     std::string_view handoffId,
                                                                     const Date& createdAt,
                                                                     RandomSource& randomSource) {
  const Label label = labelOf(link, decision);
  if (decision.fault == TransportFault::notJSON) {
    return detail::sealPlaintext(plainText, label.direction, handoffId, label.requestId, createdAt,
                                 randomSource);
  }
  return detail::sealHandoffEnvelope(
      detail::PaymentHandoffResultPayload{mapOf(responseItems(link, decision))}, label.direction, handoffId,
      label.requestId, createdAt, randomSource);
}

/// Puts the envelope on the pasteboard, or returns why it couldn't. The pasteboard keeps an expired envelope
/// as long as a new one: otherwise the host would find none, and couldn't refuse it.
std::expected<void, std::string> place(Pasteboard& pasteboard, const PaymentHandoffEnvelope& envelope,
                                       const Date& now) {
  auto text = json::encode(envelope, detail::envelopeFormat);
  if (!text) return std::unexpected(text.error().description());
  const Date keptUntil = Date::fromSecondsSince1970(now.secondsSince1970() + detail::handoffLifetime);
  return detail::placeHandoffText(pasteboard, *std::move(text), keptUntil);
}

std::expected<detail::CompressedPayload, detail::URLPayloadFailure> compressed(const LaunchLink& link,
                                                                               const Decision& decision,
                                                                               const Date& now) {
  if (decision.fault == TransportFault::notJSON) {
    auto payload = detail::compressPayloadJSON(plainText);
    if (!payload) return std::unexpected(std::move(payload).error());
    return *std::move(payload);
  }
  Label label = labelOf(link, decision);
  return detail::encodeCompressedPayload(
      detail::makeURLPayloadEnvelope(label.direction, std::move(label.requestId), now,
                                     detail::PaymentURLResultPayload{mapOf(responseItems(link, decision))}));
}

}  // namespace

std::span<const Transport> transportsOf(Outcome outcome) {
  static constexpr auto all = allCases<Transport>();
  switch (outcome) {
    case Outcome::tampered:
      return sealedOrCompressed;
    case Outcome::expired:
      return sealedAlone;
    default:
      return all;
  }
}

std::span<const Transport> transportsOf(TransportFault fault) {
  switch (fault) {
    case TransportFault::foreignHandoff:
      return sealedAlone;
    case TransportFault::wrongPayloadSize:
    case TransportFault::wrongCompressedSize:
      return compressedAlone;
    default:
      return sealedOrCompressed;
  }
}

std::string listed(std::span<const Transport> transports) {
  std::string names;
  for (const Transport one : transports) names.append(names.empty() ? "" : " or ").append(rawText(one));
  return names;
}

std::expected<std::vector<QueryItem>, SandboxError> compressedResponse(const LaunchLink& link,
                                                                       const Decision& decision,
                                                                       const HandoffPorts& ports) {
  auto payload = compressed(link, decision, ports.clock->now());
  if (!payload) return wrong("the answer is too long to travel compressed");
  if (decision.outcome == Outcome::tampered) tamper(payload->text);
  if (decision.fault == TransportFault::wrongPayloadSize) ++payload->jsonSize;
  if (decision.fault == TransportFault::wrongCompressedSize) ++payload->compressedSize;
  return std::vector<QueryItem>{
      {"transport", std::string(rawText(Transport::gzip))},
      {"encoding", std::string(detail::payloadEncoding)},
      {"payload", std::move(payload->text)},
      {std::string(spelled(payloadSizeNames, decision.keys)), std::to_string(payload->jsonSize)},
      {std::string(spelled(compressedSizeNames, decision.keys)), std::to_string(payload->compressedSize)},
  };
}

std::expected<std::vector<QueryItem>, SandboxError> sealedResponse(const LaunchLink& link,
                                                                   const Decision& decision,
                                                                   const HandoffPorts& ports) {
  if (ports.pasteboard == nullptr) {
    return wrong("the answer needs a pasteboard, and this sandbox was given none");
  }
  const Date now = ports.clock->now();
  const double age = decision.outcome == Outcome::expired ? detail::handoffLifetime + 1 : 0;
  const Date createdAt = Date::fromSecondsSince1970(now.secondsSince1970() - age);

  const auto sealedId = detail::makeHandoffId(*ports.randomSource);
  const auto namedId = decision.fault == TransportFault::foreignHandoff
                           ? detail::makeHandoffId(*ports.randomSource)
                           : sealedId;
  if (!sealedId || !namedId) return wrong("the random source gave no bytes for a handoff id");
  auto envelope = sealed(link, decision, *sealedId, createdAt, *ports.randomSource);
  if (!envelope) return wrong("the answer couldn't be sealed");
  if (decision.outcome == Outcome::tampered) tamper(envelope->ciphertext);
  if (const auto placed = place(*ports.pasteboard, *envelope, now); !placed) {
    return wrong("the pasteboard didn't keep the answer: " + placed.error());
  }
  return std::vector<QueryItem>{
      {"transport", std::string(rawText(Transport::pasteboard))},
      {std::string(spelled(handoffIdNames, decision.keys)), *namedId},
  };
}

}  // namespace tilvanego::sandbox
