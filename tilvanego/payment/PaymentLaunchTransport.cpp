#include <tilvanego/payment/PaymentLaunchTransport.h>

namespace [[gnu::visibility("default")]] tilvanego {

std::string PaymentLaunchTransport::text() const {
  if (const auto* automatic = std::get_if<Automatic>(&variant_)) {
    return "automatic(maxInlineURLLength: " + std::to_string(automatic->maxInlineURLLength) + ")";
  }
  if (std::holds_alternative<UrlScheme>(variant_)) return "urlScheme";
  return std::holds_alternative<Gzip>(variant_) ? "gzip" : "pasteboard";
}

}  // namespace tilvanego
