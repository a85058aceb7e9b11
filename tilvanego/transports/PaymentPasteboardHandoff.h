#pragma once

#include <array>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/payment/PaymentResult.h>
#include <tilvanego/platform/Pasteboard.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/transports/HandoffEnvelope.h>
#include <tilvanego/transports/HandoffPayloads.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/Support.h>
#include <tilvanego/values/URL.h>

/// Sealed envelopes on the pasteboard, and the short links that name them. Used on the main thread only.
///
/// Every program may use the pasteboard: its contents may be replaced between any two calls. Envelopes of
/// other handoffs, and text that is no envelope, are never removed.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// The types under which an item of the pasteboard holds an envelope, best first.
inline constexpr std::array<std::string_view, 3> handoffTextTypes{"public.utf8-plain-text",
                                                                  "public.plain-text", "public.text"};

/// Replaces the pasteboard's contents with one item: `text` under each of `handoffTextTypes`. The item
/// doesn't leave the device and expires at `expiration`. Fails with a sentence for the host's developer if
/// the pasteboard doesn't keep it.
[[nodiscard]] std::expected<void, std::string> placeHandoffText(Pasteboard& pasteboard, std::string text,
                                                                const Date& expiration);

/// Replaces the pasteboard's contents with the envelope. The item doesn't leave the device and expires with
/// the envelope. Fails with `PasteboardFailure` if the pasteboard doesn't keep it.
[[nodiscard]] std::expected<void, HandoffFailure> writeHandoffEnvelope(
    Pasteboard& pasteboard, const PaymentHandoffEnvelope& envelope);

/// Returns the envelope of this handoff. Fails with `payloadMissing` if there is no text, or if the
/// envelope has another handoff id, namespace or version; with `payloadExpired` if it has expired, after
/// emptying the pasteboard; with the JSON reader's failure for any other text.
[[nodiscard]] std::expected<PaymentHandoffEnvelope, HandoffFailure> readHandoffEnvelope(
    Pasteboard& pasteboard, std::string_view handoffId, const Date& now);

/// Empties the pasteboard if it holds an envelope of this handoff, of any direction and version.
void clearHandoffEnvelope(Pasteboard& pasteboard, std::string_view handoffId);

/// Seals a request, puts it on the pasteboard and returns the launch link that names it; a debug line shows
/// the link. Fails with `PasteboardFailure` if there is no pasteboard, or if it doesn't keep the request.
[[nodiscard]] std::expected<URL, HandoffFailure> pasteboardPaymentAppURL(const PaymentRequest& request,
                                                                         const Platform& platform);

/// The id by which a callback names an envelope on the pasteboard; nothing if it names none.
[[nodiscard]] std::optional<std::string> resultHandoffId(const URL& url);

/// Called with the callback URL that would have carried a result of the pasteboard itself, before that result
/// is removed from there. May be empty.
using UnsealedListener = std::function<void(const URL& callback)>;

/// Returns the result of a callback that names an envelope on the pasteboard; nothing if the URL names no
/// envelope or isn't the expected callback URL. A result that was found is removed from the pasteboard, after
/// a call of `unsealed`.
[[nodiscard]] std::optional<PaymentResult> pasteboardPaymentResult(const URL& url,
                                                                   const URL& expectedCallbackURL,
                                                                   const std::string& expectedRequestId,
                                                                   const Platform& platform,
                                                                   const UnsealedListener& unsealed = {});

}  // namespace support
}  // namespace tilvanego
