#pragma once

#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include <tilvanego/facade/CallbackParser.h>
#include <tilvanego/facade/CallbackURLs.h>
#include <tilvanego/facade/Cases.h>
#include <tilvanego/facade/Link.h>
#include <tilvanego/facade/LogLevel.h>
#include <tilvanego/facade/Operation.h>
#include <tilvanego/operations/CaptureOperation.h>
#include <tilvanego/operations/ClearDataOperation.h>
#include <tilvanego/operations/FullRefundOperation.h>
#include <tilvanego/operations/InitializationOperation.h>
#include <tilvanego/operations/PartialRefundOperation.h>
#include <tilvanego/operations/RebootOperation.h>
#include <tilvanego/operations/SaveOperation.h>
#include <tilvanego/operations/TransactionListOperation.h>
#include <tilvanego/payment/PaymentOperation.h>
#include <tilvanego/payment/PaymentTransports.h>
#include <tilvanego/platform/MainThread.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {

/// The operations in the order in which a callback is offered to them.
using Ranks = OperationList<InitializationOperation, TransactionListOperation, FullRefundOperation,
                            PartialRefundOperation, CaptureOperation, ClearDataOperation, RebootOperation,
                            SaveOperation, PaymentOperation>;

/// The behaviour that all operations share: one pending slot each, one launch frame, one router. Bound to the
/// main thread; there is no lock. Kept alive by `TilvaneGo` alone, and held weakly by what the platform calls
/// back.
class Facade : public std::enable_shared_from_this<Facade> {
 public:
  explicit Facade(Platform platform) : platform_(std::move(platform)) {}

  /// Read just before each message, so that a logger may replace itself.
  TilvaneLogger logger;

  [[nodiscard]] MainQueue& mainQueue() { return *platform_.mainQueue; }

  /// `operation` is named in the message with which a call from another thread ends the process.
  void requireMainThread(std::string_view operation) { detail::requireMainThread(mainQueue(), operation); }

  /// Starts `Operation`; `launch` is what its link step takes beside the request. Tells the outcome by
  /// `completion` alone, at once for a start that is refused.
  template <class Operation, class... Launch>
  void start(typename Operation::Request request, Completion<Operation> completion, const Launch&... launch);

  template <class Operation>
  [[nodiscard]] bool isInProgress() const {
    return slot<Operation>().has_value();
  }

  /// Forgets the pending operation without calling its completion.
  template <class Operation>
  void cancel() {
    slot<Operation>().reset();
  }

  template <class Operation>
  [[nodiscard]] bool isCallback(const URL& url) const {
    const auto& pending = slot<Operation>();
    return pending && callbackURLsMatch(url, pending->request.callbackURL());
  }

  /// What `url` means for the pending operation, which stays pending.
  template <class Operation>
  [[nodiscard]] std::optional<typename Operation::Result> result(const URL& url) const;

  /// Offers `url` to the pending operations in the order of their ranks; true if one was finished by it.
  [[nodiscard]] bool handleCallback(const URL& url) { return handleCallback(url, Ranks{}); }

 private:
  template <class Operation>
  using Slot = std::optional<Pending<Operation>>;

  enum class Routed { goOn, finished, refused };

  template <class Operation>
  [[nodiscard]] Slot<Operation>& slot() {
    return std::get<Slot<Operation>>(slots_);
  }
  template <class Operation>
  [[nodiscard]] const Slot<Operation>& slot() const {
    return std::get<Slot<Operation>>(slots_);
  }

  template <class... Blockers>
  [[nodiscard]] bool isAnyInProgress(OperationList<Blockers...>) const {
    return (isInProgress<Blockers>() || ...);
  }

  /// The link that carries every field in its query.
  template <class Operation>
  [[nodiscard]] std::expected<URL, typename Operation::Error> link(
      const typename Operation::Request& request);
  /// A payment's link, by any of its transports.
  template <class Operation>
  [[nodiscard]] std::expected<URL, PaymentError> link(const PaymentRequest& request,
                                                      const PaymentLaunchTransport& transport);
  template <class Operation>
  void openPaymentApp(const URL& url);
  template <class Operation>
  void finishPending(const typename Operation::Result& result);

  template <class Operation>
  [[nodiscard]] Routed route(const URL& url);
  template <class... Operations>
  [[nodiscard]] bool handleCallback(const URL& url, OperationList<Operations...> ranks);

  void debugLine(const std::string& text) { platform_.debugOutput->writeLine(text); }
  void log(TilvaneLogLevel level, std::string_view message) {
    if (const TilvaneLogger current = logger) current(level, message);
  }

  Platform platform_;
  Ranks::Tuple<Slot> slots_;
};

/// An id that a request may leave out is then not expected either.
[[nodiscard]] inline const std::string* pointerTo(const std::string& id) { return &id; }
[[nodiscard]] inline const std::string* pointerTo(const std::optional<std::string>& id) {
  return id ? &*id : nullptr;
}

/// A failure that no callback caused.
template <class Operation>
[[nodiscard]] typename Operation::Result failureWithoutResponse(typename Operation::Error error) {
  return typename Operation::Result::Failure{std::move(error), std::nullopt};
}

template <class Operation, class... Launch>
void Facade::start(typename Operation::Request request, Completion<Operation> completion,
                   const Launch&... launch) {
  const auto refuse = [&completion](typename Operation::Error error) {
    if (completion) completion(failureWithoutResponse<Operation>(std::move(error)));
  };
  debugLine(std::string(Operation::texts.sending) + Operation::describe(request) + "]");
  (debugLine("Sending Transport - [" + launch.text() + "]"), ...);
  if (isAnyInProgress(typename BlockersOf<Operation>::List{}))
    return refuse(typename Operation::InProgress{});
  if (const auto message = Operation::validate(request)) {
    return refuse(cases::InvalidRequest{std::string(*message)});
  }
  auto& pending = slot<Operation>().emplace(std::move(request), std::move(completion));

  auto url = link<Operation>(pending.request, launch...);
  const WipedAtEnd wiped(url);
  if (!url) return finishPending<Operation>(failureWithoutResponse<Operation>(url.error()));
  log(TilvaneLogLevel::info, Operation::texts.opening);
  openPaymentApp<Operation>(*url);
}

template <class Operation>
std::expected<URL, typename Operation::Error> Facade::link(const typename Operation::Request& request) {
  LinkItems items;
  Operation::addItems(request, items);
  auto url = writeLink(Operation::texts.target, items.items());
  const WipedAtEnd wiped(url);
  debugLine(std::string(Operation::texts.urlLabel) + redactedURLText(url));
  if (!url) return std::unexpected(cases::InvalidRequest{std::string(Operation::texts.buildFailure)});
  return *std::move(url);
}

template <class Operation>
std::expected<URL, PaymentError> Facade::link(const PaymentRequest& request,
                                              const PaymentLaunchTransport& transport) {
  return paymentAppURL(link<Operation>(request), request, transport, platform_);
}

template <class Operation>
void Facade::openPaymentApp(const URL& url) {
  platform_.application->openURL(url, [weak = weak_from_this()](bool opened) {
    const auto self = weak.lock();
    if (!self) return;
    self->requireMainThread("The completion handler of openURL");
    // The outcome is acted on in a later turn, after the start has returned, even if the handler ran inside
    // of it.
    self->mainQueue().post([weak, opened] {
      const auto facade = weak.lock();
      if (!facade || opened) return;
      facade->finishPending<Operation>(
          failureWithoutResponse<Operation>(typename Operation::AppNotInstalled{}));
    });
  });
}

template <class Operation>
void Facade::finishPending(const typename Operation::Result& result) {
  auto finished = std::exchange(slot<Operation>(), std::nullopt);
  // The slot is empty by now: the completion may start the same operation again.
  if (finished && finished->completion) finished->completion(result);
}

template <class Operation>
std::optional<typename Operation::Result> Facade::result(const URL& url) const {
  const auto& pending = slot<Operation>();
  if (!pending) return std::nullopt;
  return parseCallback<Operation>(url, pointerTo(pending->request.requestId()),
                                  &pending->request.callbackURL());
}

/// A payment's answer comes by any of its transports.
template <>
inline std::optional<PaymentResult> Facade::result<PaymentOperation>(const URL& url) const {
  const auto& pending = slot<PaymentOperation>();
  if (!pending) return std::nullopt;
  return paymentResult(url, pending->request, platform_);
}

template <class Operation>
Facade::Routed Facade::route(const URL& url) {
  if (!isInProgress<Operation>()) return Routed::goOn;
  if (const auto found = result<Operation>(url)) {
    finishPending<Operation>(*found);
    return Routed::finished;
  }
  log(TilvaneLogLevel::warning, Operation::texts.unmatchedCallback);
  return passesOnUnmatched<Operation> ? Routed::goOn : Routed::refused;
}

template <class... Operations>
bool Facade::handleCallback(const URL& url, OperationList<Operations...>) {
  Routed routed = Routed::goOn;
  static_cast<void>((((routed = route<Operations>(url)) != Routed::goOn) || ...));
  if (routed == Routed::goOn) {
    log(TilvaneLogLevel::warning,
        "Received callback with no active payment, initialization, transaction list, full refund, partial "
        "refund, "
        "capture, clear data, reboot, or save.");
  }
  return routed == Routed::finished;
}

}  // namespace tilvanego::detail
