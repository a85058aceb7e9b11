#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/facade/LogLevel.h>
#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/payment/PaymentResult.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/values/URL.h>

namespace tilvanego {

namespace detail {
class Facade;
struct FacadeAccess;
}  // namespace detail

/// The one object through which a host drives the payment application.
///
/// A host starts an operation, the payment application does its work and opens the host's callback URL, the host hands
/// that URL to `handleCallback`, and the completion gets the typed result. An operation's outcome comes through its
/// completion alone: no start returns a value or throws.
///
/// *Threads.* All operations but the static parsers are bound to the main thread, the one that drains the main queue;
/// a call from another thread ends the process with a message. Completions and the logger run on that thread, from
/// within the call that causes them; whether a link was opened is told on the main queue, after the start has returned.
///
/// *State.* At most one operation of each kind is pending, in memory alone. There is no time-out: it waits for its
/// callback, a link that isn't opened, or a cancel. A completion runs once, or never after a cancel.
class TilvaneGo {
 public:
  /// The instance, made on first use and kept as long as the process.
  [[nodiscard]] static TilvaneGo& shared();

  /// Replaces what the host's system does for the library, before the first use of `shared`; afterwards it ends the
  /// process. Without it, `Platform::standard` is used.
  static void usePlatform(Platform platform);

  TilvaneGo(const TilvaneGo&) = delete;
  TilvaneGo& operator=(const TilvaneGo&) = delete;
  ~TilvaneGo();

  /// Hears the messages at `info` and `warning`; none at first. A logger may replace itself from within a call.
  [[nodiscard]] TilvaneLogger logger() const;
  void setLogger(TilvaneLogger logger);

  /// Offers a URL that the system handed to the host. True if it finished a pending operation, also with a failure;
  /// false, and a warning is logged, if it is no pending operation's. Takes any URL.
  bool handleCallback(const URL& url);

  using PaymentCompletion = std::function<void(const PaymentResult& result)>;

  /// Starts a payment by an inline link.
  void startPayment(PaymentRequest request, PaymentCompletion completion);
  [[nodiscard]] bool isPaymentInProgress() const;
  /// Forgets the pending payment; its completion is dropped without being called.
  void cancelPendingPayment();
  /// Whether `url` is the callback URL of the pending payment, whatever its query says.
  [[nodiscard]] bool isPaymentCallback(const URL& url) const;
  /// What `url` means for the pending payment, which stays pending. Nothing if none is pending or the URL isn't its.
  [[nodiscard]] std::optional<PaymentResult> paymentResult(const URL& url) const;
  /// Reads a payment's callback. Nothing if it differs from `expectedCallbackURL` in scheme, host or path. Takes any
  /// URL, on any thread.
  [[nodiscard]] static std::optional<PaymentResult> parsePaymentResult(
      URL url, const std::optional<std::string>& expectedRequestId = std::nullopt,
      const std::optional<URL>& expectedCallbackURL = std::nullopt);

 private:
  friend struct detail::FacadeAccess;
  explicit TilvaneGo(Platform platform);

  /// The facade behind a public operation, which is named if it is called from another thread than the main one.
  [[nodiscard]] detail::Facade& on(std::string_view operation) const;

  std::shared_ptr<detail::Facade> facade_;
};

}  // namespace tilvanego
