#pragma once

#include <array>
#include <expected>
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

/// Sealed envelopes on the pasteboard, and the short links that name them. All of it is bound to the main
/// thread.
///
/// The pasteboard belongs to everyone: another program may replace what lies there between any two calls. An
/// envelope of another handoff and text that is no envelope are never removed.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// The types under which an item of the pasteboard holds an envelope, best first.
inline constexpr std::array<std::string_view, 3> handoffTextTypes{"public.utf8-plain-text",
                                                                  "public.plain-text", "public.text"};

/// Replaces everything on the pasteboard by an item with this text under the types above, which doesn't leave
/// the device and expires then. Fails, by a sentence for the host's developer, where the pasteboard doesn't
/// keep it.
[[nodiscard]] std::expected<void, std::string> placeHandoffText(Pasteboard& pasteboard, std::string text,
                                                                const Date& expiration);

/// Replaces everything on the pasteboard by the envelope, as an item that doesn't leave the device and is
/// gone when the envelope expires. Fails with `PasteboardFailure` where the pasteboard doesn't keep it.
[[nodiscard]] std::expected<void, HandoffFailure> writeHandoffEnvelope(
    Pasteboard& pasteboard, const PaymentHandoffEnvelope& envelope);

/// The first text of the pasteboard that isn't empty: its own, else what an item has under the types above,
/// as text or as UTF-8, else under any type.
[[nodiscard]] std::optional<std::string> pasteboardHandoffText(const Pasteboard& pasteboard);

/// The envelope of this handoff. Fails with `payloadMissing` for an envelope of another one, with
/// `payloadExpired`, after which the pasteboard is empty, for one that came too late, and with the JSON
/// reader's failure for any other text.
[[nodiscard]] std::expected<PaymentHandoffEnvelope, HandoffFailure> readHandoffEnvelope(
    Pasteboard& pasteboard, std::string_view handoffId, const Date& now);

/// Empties the pasteboard if an envelope of this handoff lies there, in whichever direction and version.
void clearHandoffEnvelope(Pasteboard& pasteboard, std::string_view handoffId);

/// Seals a request, puts it on the pasteboard and gives the launch link that names it, which a debug line
/// shows. Fails with `PasteboardFailure` where there is no pasteboard, or it doesn't keep the request.
[[nodiscard]] std::expected<URL, HandoffFailure> pasteboardPaymentAppURL(const PaymentRequest& request,
                                                                         const Platform& platform);

/// What a callback means that names an envelope on the pasteboard. Nothing if it names none, or is another
/// request's. A result that was found is gone from the pasteboard afterwards, whatever it says.
[[nodiscard]] std::optional<PaymentResult> pasteboardPaymentResult(const URL& url,
                                                                   const URL& expectedCallbackURL,
                                                                   const std::string& expectedRequestId,
                                                                   const Platform& platform);

}  // namespace support
}  // namespace tilvanego
