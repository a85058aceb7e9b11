#pragma once

#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include <tilvanego/facade/LogLevel.h>
#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/frame/Cases.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/CaptureOperation.h>
#include <tilvanego/operations/ClearDataOperation.h>
#include <tilvanego/operations/FullRefundOperation.h>
#include <tilvanego/operations/InitializationOperation.h>
#include <tilvanego/operations/PartialRefundOperation.h>
#include <tilvanego/operations/RebootOperation.h>
#include <tilvanego/operations/SaveOperation.h>
#include <tilvanego/operations/TransactionListOperation.h>
#include <tilvanego/payment/PaymentOperation.h>
#include <tilvanego/platform/GuardedPlatform.h>
#include <tilvanego/platform/MainThread.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/transports/PaymentTransports.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {

/// The operations in the order in which a callback is offered to them.
using Ranks = OperationList<InitializationOperation, TransactionListOperation, FullRefundOperation,
                            PartialRefundOperation, CaptureOperation, ClearDataOperation, RebootOperation,
                            SaveOperation, PaymentOperation>;

/// The behaviour that all operations share: one pending slot each, one launch frame, one router. Bound to the
/// main thread; there is no lock. Kept alive by `TilvaneGo` and by the calls that are under way, and held
/// weakly by what the platform calls back.
///
/// Any call of a port, the logger or a completion, and the end of what they captured, is host code: it may
/// call anything here, end operations and start others, or end the instance. So a slot is empty before host
/// code hears of it, a frame owns what it uses across such a call, and what it tells afterwards goes to the
/// very operation that it began with, or to none.
class Facade : public std::enable_shared_from_this<Facade> {
 public:
  /// Ends the process if a port is missing.
  explicit Facade(Platform platform)
      : platform_(guardedPlatform(std::move(platform))), mainQueue_(*platform_.mainQueue) {}

  /// Forgets all that is pending, and the logger; nothing starts any more.
  void end();

  [[nodiscard]] TilvaneLogger logger() const { return logger_ ? *logger_ : TilvaneLogger(); }
  void setLogger(TilvaneLogger logger);

  [[nodiscard]] const WeakMainQueue& mainQueue() const { return mainQueue_; }

  /// `operation` is named in the message with which a call from another thread ends the process.
  void requireMainThread(std::string_view operation) { detail::requireMainThread(mainQueue(), operation); }

  /// Starts `Operation`; `launch` is what its link step takes beside the request. Tells the outcome by
  /// `completion` alone, at once for a start that is refused.
  template <class Operation, class... Launch>
  void start(typename Operation::Request request, Completion<Operation> completion, Launch... launch);

  template <class Operation>
  [[nodiscard]] bool isInProgress() const {
    return slot<Operation>() != nullptr;
  }

  /// Forgets the pending operation without calling its completion.
  template <class Operation>
  void cancel() {
    static_cast<void>(take<Operation>());
  }

  template <class Operation>
  [[nodiscard]] bool isCallback(const URL& url) const {
    const auto& pending = slot<Operation>();
    return pending && callbackURLsMatch(url, pending->request.callbackURL());
  }

  /// What `url` means for the pending operation, which stays pending.
  template <class Operation>
  [[nodiscard]] std::optional<typename Operation::Result> result(URL url) const;

  /// Offers `url` to the pending operations in the order of their ranks; true if one was finished by it.
  [[nodiscard]] bool handleCallback(URL url) { return handleCallback(std::move(url), Ranks{}); }

 private:
  /// A pending operation's identity is its address: no other has it as long as a frame holds this.
  template <class Operation>
  using Slot = std::shared_ptr<Pending<Operation>>;
  using OpenFailure = void (Facade::*)();

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

  /// Empties the slot and gives the completion, which ends with whoever takes it.
  template <class Operation>
  [[nodiscard]] Completion<Operation> take();

  /// Ends `pending` with a result. False, and nothing is told, if host code has ended it already.
  template <class Operation>
  bool finish(const Slot<Operation>& pending, const typename Operation::Result& result);

  /// The link of a pending operation by its transport, with every failure to build it.
  template <class Operation, class... Launch>
  [[nodiscard]] std::expected<URL, typename Operation::Error> builtLink(const Slot<Operation>& pending,
                                                                        const Launch&... launch);
  /// The link that carries every field in its query.
  template <class Operation>
  [[nodiscard]] std::expected<URL, typename Operation::Error> link(const Slot<Operation>& pending);
  /// A payment's link, by any of its transports.
  template <class Operation>
  [[nodiscard]] std::expected<URL, PaymentError> link(const Slot<Operation>& pending,
                                                      const PaymentLaunchTransport& transport);
  /// `failed` is called in a later turn of the main queue if the link isn't opened.
  void openPaymentApp(const URL& url, OpenFailure failed);
  /// Ends whatever operation of its kind is pending by now.
  template <class Operation>
  void notOpened();

  /// What `url` means for a request; it is taken if that is anything.
  template <class Operation>
  [[nodiscard]] std::optional<typename Operation::Result> read(URL&& url,
                                                               const Pending<Operation>& pending) const;
  [[nodiscard]] std::optional<PaymentResult> read(URL&& url, const Pending<PaymentOperation>& pending) const;

  template <class Operation>
  [[nodiscard]] Routed route(URL& url);
  template <class... Operations>
  [[nodiscard]] bool handleCallback(URL url, OperationList<Operations...> ranks);

  void debugLine(const std::string& text) { platform_.debugOutput->writeLine(text); }
  void log(TilvaneLogLevel level, std::string_view message);

  Platform platform_;
  /// The host's queue may live in `main`, and this doesn't end before the process.
  WeakMainQueue mainQueue_;
  std::shared_ptr<const TilvaneLogger> logger_;
  Ranks::Tuple<Slot> slots_;
  bool ended_ = false;
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

template <class Operation>
Completion<Operation> Facade::take() {
  const Slot<Operation> taken = std::exchange(slot<Operation>(), nullptr);
  return taken ? std::exchange(taken->completion, nullptr) : nullptr;
}

template <class Operation>
bool Facade::finish(const Slot<Operation>& pending, const typename Operation::Result& result) {
  if (slot<Operation>() != pending) return false;
  // The slot is empty by now: the completion may start the same operation again.
  if (const auto completion = take<Operation>()) completion(result);
  return true;
}

template <class Operation, class... Launch>
void Facade::start(typename Operation::Request request, Completion<Operation> completion, Launch... launch) {
  const auto refuse = [&completion](typename Operation::Error error) {
    if (completion) completion(failureWithoutResponse<Operation>(std::move(error)));
  };
  debugLine(std::string(Operation::texts.sending) + Operation::describe(request) + "]");
  (debugLine("Sending Transport - [" + launch.text() + "]"), ...);
  if (ended_) return;
  if (isAnyInProgress(typename BlockersOf<Operation>::List{}))
    return refuse(typename Operation::InProgress{});
  if (const auto message = Operation::validate(request)) {
    return refuse(cases::InvalidRequest{std::string(*message)});
  }
  const auto pending = std::make_shared<Pending<Operation>>(std::move(request), std::move(completion));
  slot<Operation>() = pending;

  auto url = builtLink<Operation>(pending, launch...);
  const WipedAtEnd wiped(url);
  if (!url) {
    finish<Operation>(pending, failureWithoutResponse<Operation>(url.error()));
    return;
  }
  // Nothing is opened for an operation that host code has ended.
  if (slot<Operation>() == pending) log(TilvaneLogLevel::info, Operation::texts.opening);
  if (slot<Operation>() == pending) openPaymentApp(*url, &Facade::notOpened<Operation>);
}

template <class Operation, class... Launch>
std::expected<URL, typename Operation::Error> Facade::builtLink(const Slot<Operation>& pending,
                                                                const Launch&... launch) {
  try {
    return link<Operation>(pending, launch...);
  } catch (...) {
    // A port's exception, or no memory.
    return std::unexpected(cases::InvalidRequest{std::string(Operation::texts.buildFailure)});
  }
}

template <class Operation>
std::expected<URL, typename Operation::Error> Facade::link(const Slot<Operation>& pending) {
  LinkItems items;
  Operation::addItems(pending->request, items);
  auto url = writeLink(Operation::texts.target, items.items());
  const WipedAtEnd wiped(url);
  debugLine(std::string(Operation::texts.urlLabel) + redactedURLText(url));
  if (!url) return std::unexpected(cases::InvalidRequest{std::string(Operation::texts.buildFailure)});
  return *std::move(url);
}

template <class Operation>
std::expected<URL, PaymentError> Facade::link(const Slot<Operation>& pending,
                                              const PaymentLaunchTransport& transport) {
  auto inlineURL = link<Operation>(pending);
  // No other form is built, nor the pasteboard replaced, for a payment that host code has ended.
  if (slot<Operation>() != pending) return inlineURL;
  auto url = paymentAppURL(std::move(inlineURL), pending->request, transport, platform_);
  if (url) return *std::move(url);
  if (!url.error().reason.empty()) log(TilvaneLogLevel::warning, url.error().reason);
  return std::unexpected(std::move(url).error().error);
}

template <class Operation>
void Facade::notOpened() {
  const auto pending = slot<Operation>();
  if (!pending) return;
  finish<Operation>(pending, failureWithoutResponse<Operation>(typename Operation::AppNotInstalled{}));
}

template <class Operation>
std::optional<typename Operation::Result> Facade::read(URL&& url, const Pending<Operation>& pending) const {
  return parseCallback<Operation>(std::move(url), pointerTo(pending.request.requestId()),
                                  &pending.request.callbackURL());
}

/// A payment's answer comes by any of its transports.
inline std::optional<PaymentResult> Facade::read(URL&& url, const Pending<PaymentOperation>& pending) const {
  return paymentResult(std::move(url), pending.request, platform_);
}

template <class Operation>
std::optional<typename Operation::Result> Facade::result(URL url) const {
  const auto pending = slot<Operation>();
  if (!pending) return std::nullopt;
  auto found = read(std::move(url), *pending);
  if (slot<Operation>() != pending) found.reset();
  return found;
}

template <class Operation>
Facade::Routed Facade::route(URL& url) {
  const auto pending = slot<Operation>();
  if (!pending) return Routed::goOn;
  if (const auto found = read(std::move(url), *pending); found && finish<Operation>(pending, *found)) {
    return Routed::finished;
  }
  log(TilvaneLogLevel::warning, Operation::texts.unmatchedCallback);
  return passesOnUnmatched<Operation> ? Routed::goOn : Routed::refused;
}

template <class... Operations>
bool Facade::handleCallback(URL url, OperationList<Operations...>) {
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
