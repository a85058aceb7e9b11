#pragma once

#include <variant>

#include <tilvanego/frame/Cases.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The cases of `PaymentError`, reached as `PaymentError::InvalidRequest` and so on.
struct PaymentErrorCases {
  using InvalidRequest = cases::InvalidRequest;
  struct RequestIdMismatch : cases::RequestIdMismatch<"Payment"> {};
  struct PaymentFailed : cases::FailedWithStatus<"paymentFailed", "Payment"> {};
  struct PaymentAppNotInstalled : cases::Plain<"paymentAppNotInstalled", cases::appNotInstalled> {};
  struct PaymentInProgress : cases::Plain<"paymentInProgress", "A payment is already in progress."> {};
  struct InvalidCallback : cases::Plain<"invalidCallback", "The payment callback could not be parsed."> {};
  struct MissingStatus : cases::Plain<"missingStatus", "Payment callback is missing a status."> {};
  struct PasteboardHandoffUnavailable
      : cases::Plain<"pasteboardHandoffUnavailable",
                     "Pasteboard handoff is not available on this platform."> {};
  struct PasteboardHandoffMissing
      : cases::Plain<"pasteboardHandoffMissing", "Pasteboard handoff payload is missing."> {};
  struct PasteboardHandoffExpired
      : cases::Plain<"pasteboardHandoffExpired", "Pasteboard handoff payload has expired."> {};
  struct PasteboardHandoffInvalid
      : cases::Plain<"pasteboardHandoffInvalid", "Pasteboard handoff payload is invalid."> {};
  struct PasteboardHandoffDecryptionFailed
      : cases::Plain<"pasteboardHandoffDecryptionFailed",
                     "Pasteboard handoff payload could not be decrypted."> {};
  struct UrlPayloadTooLarge : cases::Plain<"urlPayloadTooLarge", "Compressed URL payload is too large."> {};
  struct UrlPayloadInvalid : cases::Plain<"urlPayloadInvalid", "Compressed URL payload is invalid."> {};
  struct UrlPayloadDecompressionFailed
      : cases::Plain<"urlPayloadDecompressionFailed", "Compressed URL payload could not be decompressed."> {};

  using Variant =
      std::variant<InvalidRequest, RequestIdMismatch, PaymentFailed, PaymentAppNotInstalled,
                   PaymentInProgress, InvalidCallback, MissingStatus, PasteboardHandoffUnavailable,
                   PasteboardHandoffMissing, PasteboardHandoffExpired, PasteboardHandoffInvalid,
                   PasteboardHandoffDecryptionFailed, UrlPayloadTooLarge, UrlPayloadInvalid,
                   UrlPayloadDecompressionFailed>;
};

/// Why a payment failed: one of the cases above. Never thrown: `PaymentResult::Failure` holds it.
///
/// ```cpp
/// bool mustWaitForTheFirst(const PaymentError& error) {
///   return std::holds_alternative<PaymentError::PaymentInProgress>(error);
/// }
/// ```
class PaymentError : public cases::ErrorUnion<PaymentErrorCases> {
 public:
  using ErrorUnion::ErrorUnion;
};

}  // namespace tilvanego
