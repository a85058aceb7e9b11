#pragma once

#include <expected>
#include <optional>
#include <string>

#include <tilvanego/payment/PaymentError.h>
#include <tilvanego/payment/PaymentLaunchTransport.h>
#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/payment/PaymentResult.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/values/URL.h>

/// The choice among the three ways in which a payment travels, out and back.
namespace tilvanego::detail {

/// Why a payment has no launch link.
struct PaymentLinkFailure {
  PaymentError error;
  /// What the logger hears, where the error alone doesn't say enough: a line for the host's developer.
  std::string reason;
};

/// The launch link by the chosen transport. `inlineURL` is the one with every field in its query, or why
/// there is none; it has been shown already, whichever is chosen.
[[nodiscard]] std::expected<URL, PaymentLinkFailure> paymentAppURL(std::expected<URL, PaymentError> inlineURL,
                                                                   const PaymentRequest& request,
                                                                   const PaymentLaunchTransport& transport,
                                                                   const Platform& platform);

/// What a callback means for a pending request. How the request went out doesn't matter: the callback itself
/// says how the answer came. Nothing if it isn't the request's, and `url` stays as it is then.
[[nodiscard]] std::optional<PaymentResult> paymentResult(URL&& url, const PaymentRequest& request,
                                                         const Platform& platform);

}  // namespace tilvanego::detail
