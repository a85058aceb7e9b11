#include <tilvanego/transports/HandoffPayloads.h>

#include <tilvanego/values/URLComponents.h>

namespace tilvanego::support {

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

}  // namespace tilvanego::support
