#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <variant>

#include <tilvanego/values/Shown.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// How a payment request travels to the payment application.
///
/// Anyone who sees an inline or a compressed link can read the request, its token included. On Linux an
/// opener receives the link as an argument, which every user of the machine can read in /proc/PID/cmdline
/// while it runs. If others use the machine, send requests with credentials by `pasteboard`.
class PaymentLaunchTransport {
 public:
  /// Inline if the link has at most `maxInlineURLLength` bytes; otherwise compressed, if the limits allow
  /// it; otherwise by the pasteboard.
  struct Automatic {
    std::int64_t maxInlineURLLength;
    bool operator==(const Automatic&) const = default;
  };
  /// Every field in the link's query, whatever its length.
  struct UrlScheme {
    bool operator==(const UrlScheme&) const = default;
  };
  /// One compressed envelope in the link's query. Compressed, not encrypted.
  struct Gzip {
    bool operator==(const Gzip&) const = default;
  };
  /// An encrypted envelope on the pasteboard, named by the link. If the pasteboard doesn't keep it, the
  /// payment fails at once with `pasteboardHandoffUnavailable`.
  struct Pasteboard {
    bool operator==(const Pasteboard&) const = default;
  };
  using Variant = std::variant<Automatic, UrlScheme, Gzip, Pasteboard>;

  /// `maxInlineURLLength` counts the bytes of the whole link; with 0 or less the inline form is never used.
  [[nodiscard]] static PaymentLaunchTransport automatic(std::int64_t maxInlineURLLength) {
    return PaymentLaunchTransport(Automatic{maxInlineURLLength});
  }
  [[nodiscard]] static PaymentLaunchTransport urlScheme() { return PaymentLaunchTransport(UrlScheme{}); }
  [[nodiscard]] static PaymentLaunchTransport gzip() { return PaymentLaunchTransport(Gzip{}); }
  [[nodiscard]] static PaymentLaunchTransport pasteboard() { return PaymentLaunchTransport(Pasteboard{}); }

  [[nodiscard]] const Variant& variant() const { return variant_; }

  /// The case as debug lines show it: "gzip", "automatic(maxInlineURLLength: 2000)".
  [[nodiscard]] std::string text() const;

  bool operator==(const PaymentLaunchTransport&) const = default;
  /// Writes `text()`.
  friend std::ostream& operator<<(std::ostream& out, const PaymentLaunchTransport& transport) {
    support::showText(out, transport.text());
    return out;
  }

 private:
  explicit PaymentLaunchTransport(Variant variant) : variant_(variant) {}

  Variant variant_;
};

}  // namespace tilvanego
