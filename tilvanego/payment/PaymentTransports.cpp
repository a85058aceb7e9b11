#include <tilvanego/payment/PaymentTransports.h>

#include <string>
#include <utility>
#include <variant>

#include <tilvanego/facade/CallbackParser.h>
#include <tilvanego/payment/PaymentOperation.h>
#include <tilvanego/transports/CompressedURLPayload.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {
namespace {

using Link = std::expected<URL, PaymentError>;

std::unexpected<PaymentError> notBuilt() {
  return std::unexpected<PaymentError>(
      cases::InvalidRequest{std::string(PaymentOperation::texts.buildFailure)});
}

Link compressedLink(const PaymentRequest& request, const Platform& platform) {
  auto url = compressedPaymentAppURL(request, platform);
  if (url) return *std::move(url);
  if (auto* error = std::get_if<PaymentError>(&url.error())) return std::unexpected(std::move(*error));
  return notBuilt();
}

Link pasteboardLink(const PaymentRequest& request, const Platform& platform) {
  auto url = pasteboardPaymentAppURL(request, platform);
  if (!url) return notBuilt();
  return *std::move(url);
}

/// The first form that fits: inline, compressed, on the pasteboard.
Link fittingLink(Link&& inlineURL, std::int64_t maxInlineURLLength, const PaymentRequest& request,
                 const Platform& platform) {
  // Where no inline link can be formed, no other is tried.
  if (!inlineURL || std::cmp_less_equal(inlineURL->absoluteString().size(), maxInlineURLLength))
    return std::move(inlineURL);
  if (auto compressed = compressedLink(request, platform)) return compressed;
  return pasteboardLink(request, platform);
}

}  // namespace

std::expected<URL, PaymentError> paymentAppURL(std::expected<URL, PaymentError> inlineURL,
                                               const PaymentRequest& request,
                                               const PaymentLaunchTransport& transport,
                                               const Platform& platform) {
  // Another form leaves it unused, with the token in it.
  const WipedAtEnd wiped(inlineURL);
  const auto& chosen = transport.variant();
  if (const auto* automatic = std::get_if<PaymentLaunchTransport::Automatic>(&chosen)) {
    return fittingLink(std::move(inlineURL), automatic->maxInlineURLLength, request, platform);
  }
  if (std::holds_alternative<PaymentLaunchTransport::Gzip>(chosen)) return compressedLink(request, platform);
  if (std::holds_alternative<PaymentLaunchTransport::Pasteboard>(chosen))
    return pasteboardLink(request, platform);
  return inlineURL;
}

std::optional<PaymentResult> paymentResult(const URL& url, const PaymentRequest& request,
                                           const Platform& platform) {
  const std::string& requestId = request.requestId();
  const URL& callbackURL = request.callbackURL();
  if (auto result = pasteboardPaymentResult(url, callbackURL, requestId, platform)) return result;
  if (auto result = compressedPaymentResult(url, callbackURL, requestId)) return result;
  return parseCallback<PaymentOperation>(url, &requestId, &callbackURL);
}

}  // namespace tilvanego::detail
