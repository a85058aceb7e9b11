#include <tilvanego/payment/PaymentLaunchTransport.h>

namespace [[gnu::visibility("default")]] tilvanego {

namespace {

std::string describe(const PaymentLaunchTransport::Automatic& one) {
  return "automatic(maxInlineURLLength: " + std::to_string(one.maxInlineURLLength) + ")";
}
std::string describe(const PaymentLaunchTransport::UrlScheme&) { return "urlScheme"; }
std::string describe(const PaymentLaunchTransport::Gzip&) { return "gzip"; }
std::string describe(const PaymentLaunchTransport::Pasteboard&) { return "pasteboard"; }

}  // namespace

std::string PaymentLaunchTransport::text() const {
  return std::visit([](const auto& one) { return describe(one); }, variant_);
}

}  // namespace tilvanego
