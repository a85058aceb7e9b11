#include <tilvanego/transports/PaymentTransports.h>

#include <utility>
#include <variant>

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/payment/PaymentOperation.h>
#include <tilvanego/transports/CompressedURLPayload.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {
namespace {

using Link = std::expected<URL, PaymentLinkFailure>;

std::unexpected<PaymentLinkFailure> failed(PaymentError error, std::string reason = {}) {
  return std::unexpected(PaymentLinkFailure{std::move(error), std::move(reason)});
}

std::unexpected<PaymentLinkFailure> notBuilt() {
  return failed(cases::InvalidRequest{buildFailure(PaymentOperation::kind)});
}

Link inlineLink(std::optional<URL>&& url) {
  if (!url) return notBuilt();
  return *std::move(url);
}

Link compressedLink(const PaymentRequest& request, const Platform& platform) {
  try {
    auto url = compressedPaymentAppURL(request, platform);
    if (url) return *std::move(url);
    if (auto* error = std::get_if<PaymentError>(&url.error())) return failed(std::move(*error));
  } catch (...) {
    // The clock threw: only this form can't be built.
  }
  return notBuilt();
}

Link pasteboardLink(const PaymentRequest& request, const Platform& platform) {
  auto url = pasteboardPaymentAppURL(request, platform);
  if (url) return *std::move(url);
  if (const auto* failure = std::get_if<PasteboardFailure>(&url.error())) {
    return failed(PaymentError::PasteboardHandoffUnavailable{},
                  "The payment can't be left on the pasteboard. " + failure->reason);
  }
  return notBuilt();
}

/// The first of these forms that fits: inline, compressed, pasteboard.
Link fittingLink(std::optional<URL>&& inlineURL, std::int64_t maxInlineURLLength,
                 const PaymentRequest& request, const Platform& platform) {
  // If there is no inline link, no other form is tried.
  if (!inlineURL || std::cmp_less_equal(inlineURL->absoluteString().size(), maxInlineURLLength)) {
    return inlineLink(std::move(inlineURL));
  }
  if (auto compressed = compressedLink(request, platform)) return compressed;
  return pasteboardLink(request, platform);
}

}  // namespace

std::expected<URL, PaymentLinkFailure> paymentAppURL(std::optional<URL> inlineURL,
                                                     const PaymentRequest& request,
                                                     const PaymentLaunchTransport& transport,
                                                     const Platform& platform) {
  // It contains the token, and other forms don't use it.
  const WipedAtEnd wiped(inlineURL);
  const auto& chosen = transport.variant();
  if (const auto* automatic = std::get_if<PaymentLaunchTransport::Automatic>(&chosen)) {
    return fittingLink(std::move(inlineURL), automatic->maxInlineURLLength, request, platform);
  }
  if (std::holds_alternative<PaymentLaunchTransport::Gzip>(chosen)) return compressedLink(request, platform);
  if (std::holds_alternative<PaymentLaunchTransport::Pasteboard>(chosen))
    return pasteboardLink(request, platform);
  return inlineLink(std::move(inlineURL));
}

std::optional<PaymentResult> paymentResult(URL&& url, const PaymentRequest& request, const Platform& platform,
                                           const UnsealedListener& unsealed) {
  const std::string& requestId = request.requestId();
  const URL& callbackURL = request.callbackURL();
  try {
    if (auto result = pasteboardPaymentResult(url, callbackURL, requestId, platform, unsealed)) return result;
  } catch (...) {
    // The clock threw: it is unknown whether the response came in time.
    return PaymentResult::Failure{PaymentError::PasteboardHandoffDecryptionFailed{}, std::nullopt};
  }
  if (auto result = compressedPaymentResult(url, callbackURL, requestId)) return result;
  return parseCallback<PaymentOperation>(std::move(url), &requestId, &callbackURL);
}

}  // namespace tilvanego::detail
