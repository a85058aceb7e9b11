#pragma once

#include <expected>
#include <optional>
#include <string>

#include <tilvanego/payment/PaymentError.h>
#include <tilvanego/payment/PaymentLaunchTransport.h>
#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/payment/PaymentResult.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>
#include <tilvanego/values/URL.h>

/// Chooses one of the three transports of a payment, for its request and for its result.
namespace tilvanego::detail {

/// Why a payment has no launch link.
struct PaymentLinkFailure {
  PaymentError error;
  /// A log line for the host's developer, if the error needs an explanation; else empty.
  std::string reason;
};

/// Returns the launch link of the chosen transport. `inlineURL` is the link with every field in its query;
/// nothing if it can't be built.
[[nodiscard]] std::expected<URL, PaymentLinkFailure> paymentAppURL(std::optional<URL> inlineURL,
                                                                   const PaymentRequest& request,
                                                                   const PaymentLaunchTransport& transport,
                                                                   const Platform& platform);

/// Returns the result of a pending request from a callback. The callback alone determines the transport of
/// the response; that of the request doesn't matter. Returns nothing if the callback isn't for this request;
/// `url` is then unchanged. `unsealed` is called before a result is removed from the pasteboard.
[[nodiscard]] std::optional<PaymentResult> paymentResult(URL&& url, const PaymentRequest& request,
                                                         const Platform& platform,
                                                         const UnsealedListener& unsealed = {});

}  // namespace tilvanego::detail
