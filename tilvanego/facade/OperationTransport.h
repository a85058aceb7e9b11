#pragma once

#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/facade/Facade.h>
#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/transports/PaymentTransports.h>

namespace tilvanego::detail {

/// For every operation but the payment: the link and the callback have every field in their queries.
template <typename Operation>
struct OperationTransport {
  [[nodiscard]] static auto link(Facade& facade, const std::shared_ptr<Pending<Operation>>& pending) {
    return facade.inlineLink<Operation>(pending);
  }

  /// Returns nothing, and leaves `url` unchanged, unless it is the callback of `request`.
  [[nodiscard]] static std::optional<typename Operation::Result> read(
      URL&& url, const typename Operation::Request& request, const Platform& /*platform*/,
      const UnsealedListener& /*unsealed*/) {
    return parseCallback<Operation>(std::move(url), pointerTo(request.requestId()), &request.callbackURL());
  }

 private:
  /// Null if the request has no id: any id is then accepted.
  static const std::string* pointerTo(const std::string& id) { return &id; }
  static const std::string* pointerTo(const std::optional<std::string>& id) { return id ? &*id : nullptr; }
};

/// For the payment: the link and the callback each use one of three transports.
template <>
struct OperationTransport<PaymentOperation> {
  [[nodiscard]] static std::expected<URL, PaymentError> link(
      Facade& facade, const std::shared_ptr<Pending<PaymentOperation>>& pending,
      const PaymentLaunchTransport& transport) {
    auto inlineURL = facade.inlineLink<PaymentOperation>(pending);
    // If host code has ended the payment, builds no other form, and keeps the pasteboard.
    if (facade.slot<PaymentOperation>() != pending) return inlineURL;
    auto url = paymentAppURL(std::move(inlineURL), pending->request, transport, facade.platform_);
    if (url) return *std::move(url);
    if (!url.error().reason.empty()) facade.log(TilvaneLogLevel::warning, url.error().reason);
    return std::unexpected(std::move(url).error().error);
  }

  /// Returns nothing, and leaves `url` unchanged, unless it is the callback of `request`.
  [[nodiscard]] static std::optional<PaymentResult> read(URL&& url, const PaymentRequest& request,
                                                         const Platform& platform,
                                                         const UnsealedListener& unsealed) {
    return paymentResult(std::move(url), request, platform, unsealed);
  }
};

}  // namespace tilvanego::detail
