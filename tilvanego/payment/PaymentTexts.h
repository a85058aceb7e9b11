#pragma once

#include <expected>
#include <string>

#include <tilvanego/payment/PaymentError.h>
#include <tilvanego/payment/PaymentRequest.h>

namespace tilvanego::detail {

/// Makes a payment request from texts, without credentials; the reader must be ready. An empty customer id or
/// empty notes are absent; neither is trimmed. Fails with `invalidRequest` for an amount, type or return URL
/// that can't be read. Doesn't check the request otherwise: its start does.
[[nodiscard]] std::expected<PaymentRequest, PaymentError> paymentRequestFromTexts(
    std::string requestId, const std::string& amount, const std::string& type, std::string currency,
    const std::string& returnUrl, std::string customId, std::string notes);

}  // namespace tilvanego::detail
