#pragma once

#include <expected>
#include <string>

#include <tilvanego/payment/PaymentError.h>
#include <tilvanego/payment/PaymentRequest.h>

namespace tilvanego::detail {

/// A payment request made of texts alone, without credentials and with a reader that must be ready. An empty
/// customer id and empty notes are absent; neither is trimmed. Fails with `invalidRequest` for the first text
/// that means nothing; what the request's own tests refuse is left to them.
[[nodiscard]] std::expected<PaymentRequest, PaymentError> paymentRequestFromTexts(
    std::string requestId, const std::string& amount, const std::string& type, std::string currency,
    const std::string& returnUrl, std::string customId, std::string notes);

}  // namespace tilvanego::detail
