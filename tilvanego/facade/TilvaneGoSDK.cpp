#include <tilvanego/facade/TilvaneGoSDK.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

#include <tilvanego/facade/Facade.h>

namespace tilvanego {

namespace {

using detail::parseCallback;
using detail::PaymentOperation;

/// What `usePlatform` gave, until `shared` takes it.
struct SharedPlatform {
  std::optional<Platform> given;
  bool taken = false;

  static SharedPlatform& instance() {
    static SharedPlatform one;
    return one;
  }

  Platform take() {
    taken = true;
    return given ? *std::exchange(given, std::nullopt) : Platform::standard();
  }
};

template <class Value>
const Value* pointerTo(const std::optional<Value>& value) {
  return value ? &*value : nullptr;
}

}  // namespace

TilvaneGo::TilvaneGo(Platform platform) : facade_(std::make_shared<detail::Facade>(std::move(platform))) {}

TilvaneGo::~TilvaneGo() = default;

TilvaneGo& TilvaneGo::shared() {
  // Never destroyed: the platform may call back until the process has ended.
  static TilvaneGo& instance = *new TilvaneGo(SharedPlatform::instance().take());
  return instance;
}

void TilvaneGo::usePlatform(Platform platform) {
  auto& shared = SharedPlatform::instance();
  if (shared.taken) {
    std::fputs("TilvaneGo: usePlatform must be called before the first use of TilvaneGo::shared().\n", stderr);
    std::abort();
  }
  shared.given = std::move(platform);
}

detail::Facade& TilvaneGo::on(std::string_view operation) const {
  facade_->requireMainThread(operation);
  return *facade_;
}

TilvaneLogger TilvaneGo::logger() const { return on("logger").logger; }
void TilvaneGo::setLogger(TilvaneLogger logger) { on("setLogger").logger = std::move(logger); }

bool TilvaneGo::handleCallback(const URL& url) { return on("handleCallback").handleCallback(url); }

void TilvaneGo::startPayment(PaymentRequest request, PaymentCompletion completion) {
  on("startPayment")
      .start<PaymentOperation>(std::move(request), std::move(completion), PaymentLaunchTransport::urlScheme());
}
bool TilvaneGo::isPaymentInProgress() const { return on("isPaymentInProgress").isInProgress<PaymentOperation>(); }
void TilvaneGo::cancelPendingPayment() { on("cancelPendingPayment").cancel<PaymentOperation>(); }
bool TilvaneGo::isPaymentCallback(const URL& url) const {
  return on("isPaymentCallback").isCallback<PaymentOperation>(url);
}
std::optional<PaymentResult> TilvaneGo::paymentResult(const URL& url) const {
  return on("paymentResult").result<PaymentOperation>(url);
}
std::optional<PaymentResult> TilvaneGo::parsePaymentResult(URL url, const std::optional<std::string>& expectedRequestId,
                                                           const std::optional<URL>& expectedCallbackURL) {
  return parseCallback<PaymentOperation>(std::move(url), pointerTo(expectedRequestId), pointerTo(expectedCallbackURL));
}

}  // namespace tilvanego
