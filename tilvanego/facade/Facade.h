#pragma once

#include <cstddef>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include <tilvanego/facade/LogLevel.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/frame/Cases.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/Operations.h>
#include <tilvanego/platform/GuardedPlatform.h>
#include <tilvanego/platform/MainThread.h>
#include <tilvanego/platform/Platform.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {

/// How the requests of an operation travel out, and how their callbacks are read. Beside the frame, in
/// `Ways.h`.
template <typename Operation>
struct Ways;

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
  template <typename Operation, typename... Launch>
  void start(typename Operation::Request request, Completion<Operation> completion, Launch... launch);

  template <typename Operation>
  [[nodiscard]] bool isInProgress() const {
    return slot<Operation>() != nullptr;
  }

  /// Forgets the pending operation without calling its completion.
  template <typename Operation>
  void cancel() {
    static_cast<void>(take<Operation>());
  }

  template <typename Operation>
  [[nodiscard]] bool isCallback(const URL& url) const {
    const auto& pending = slot<Operation>();
    return pending && callbackURLsMatch(url, pending->request.callbackURL());
  }

  /// What `url` means for the pending operation, which stays pending.
  template <typename Operation>
  [[nodiscard]] std::optional<typename Operation::Result> result(URL url) const;

  /// Offers `url` to the pending operations in the order of their ranks; true if one was finished by it.
  [[nodiscard]] bool handleCallback(URL url);

 private:
  /// A pending operation's identity is its address: no other has it as long as a frame holds this.
  template <typename Operation>
  using Slot = std::shared_ptr<Pending<Operation>>;
  using Slots = decltype([]<std::size_t... index>(std::index_sequence<index...>) {
    return std::tuple<Slot<typename OperationOf<operationKinds[index]>::type>...>();
  }(std::make_index_sequence<operationKinds.size()>()));
  using OpenFailure = void (Facade::*)();

  enum class Routed { goOn, finished, refused };
  /// A step of the router: offers `url` to the pending operation of one kind.
  using Rank = Routed (Facade::*)(URL& url);

  template <typename>
  friend struct Ways;

  template <typename Operation>
  [[nodiscard]] Slot<Operation>& slot() {
    return std::get<Slot<Operation>>(slots_);
  }
  template <typename Operation>
  [[nodiscard]] const Slot<Operation>& slot() const {
    return std::get<Slot<Operation>>(slots_);
  }

  template <typename... Blockers>
  [[nodiscard]] bool isAnyInProgress(OperationList<Blockers...>) const {
    return (isInProgress<Blockers>() || ...);
  }

  /// Empties the slot and gives the completion, which ends with whoever takes it.
  template <typename Operation>
  [[nodiscard]] Completion<Operation> take();

  /// Ends `pending` with a result. False, and nothing is told, if host code has ended it already.
  template <typename Operation>
  bool finish(const Slot<Operation>& pending, const typename Operation::Result& result);

  /// The link of a pending operation. An exception of a port fails it, too.
  template <typename Operation, typename... Launch>
  [[nodiscard]] std::expected<URL, typename Operation::Error> builtLink(const Slot<Operation>& pending,
                                                                        const Launch&... launch);
  /// The link that carries every field in its query.
  template <typename Operation>
  [[nodiscard]] std::expected<URL, typename Operation::Error> inlineLink(const Slot<Operation>& pending);
  /// `failed` is called in a later turn of the main queue if the link isn't opened.
  void openPaymentApp(const URL& url, OpenFailure failed);
  /// Ends whatever operation of its kind is pending by now.
  template <typename Operation>
  void notOpened();

  template <typename Operation>
  [[nodiscard]] Routed route(URL& url);
  template <OperationKind kind>
  [[nodiscard]] Routed offer(URL& url) {
    return route<typename OperationOf<kind>::type>(url);
  }
  /// One rank for each kind, in the order in which a callback is offered to them.
  [[nodiscard]] static consteval auto ranks();

  void debugLine(const std::string& text) { platform_.debugOutput->writeLine(text); }
  void log(TilvaneLogLevel level, std::string_view message);

  Platform platform_;
  /// The host's queue may live in `main`, and this doesn't end before the process.
  WeakMainQueue mainQueue_;
  std::shared_ptr<const TilvaneLogger> logger_;
  Slots slots_;
  bool ended_ = false;
};

/// A failure that no callback caused.
template <typename Operation>
[[nodiscard]] typename Operation::Result failureWithoutResponse(typename Operation::Error error) {
  return typename Operation::Result::Failure{std::move(error), std::nullopt};
}

template <typename Operation>
Completion<Operation> Facade::take() {
  const Slot<Operation> taken = std::exchange(slot<Operation>(), nullptr);
  return taken ? std::exchange(taken->completion, nullptr) : nullptr;
}

template <typename Operation>
bool Facade::finish(const Slot<Operation>& pending, const typename Operation::Result& result) {
  if (slot<Operation>() != pending) return false;
  // The slot is empty by now: the completion may start the same operation again.
  if (const auto completion = take<Operation>()) completion(result);
  return true;
}

template <typename Operation, typename... Launch>
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

template <typename Operation, typename... Launch>
std::expected<URL, typename Operation::Error> Facade::builtLink(const Slot<Operation>& pending,
                                                                const Launch&... launch) {
  try {
    return Ways<Operation>::link(*this, pending, launch...);
  } catch (...) {
    // A port's exception, or no memory.
    return std::unexpected(cases::InvalidRequest{std::string(Operation::texts.buildFailure)});
  }
}

template <typename Operation>
std::expected<URL, typename Operation::Error> Facade::inlineLink(const Slot<Operation>& pending) {
  LinkItems items;
  Operation::addItems(pending->request, items);
  auto url = writeLink(Operation::texts.target, items.items());
  const WipedAtEnd wiped(url);
  debugLine(std::string(Operation::texts.urlLabel) + redactedURLText(url));
  if (!url) return std::unexpected(cases::InvalidRequest{std::string(Operation::texts.buildFailure)});
  return *std::move(url);
}

template <typename Operation>
void Facade::notOpened() {
  const auto pending = slot<Operation>();
  if (!pending) return;
  finish<Operation>(pending, failureWithoutResponse<Operation>(typename Operation::AppNotInstalled{}));
}

template <typename Operation>
std::optional<typename Operation::Result> Facade::result(URL url) const {
  const auto pending = slot<Operation>();
  if (!pending) return std::nullopt;
  auto found = Ways<Operation>::read(std::move(url), pending->request, platform_);
  if (slot<Operation>() != pending) found.reset();
  return found;
}

template <typename Operation>
Facade::Routed Facade::route(URL& url) {
  const auto pending = slot<Operation>();
  if (!pending) return Routed::goOn;
  if (const auto found = Ways<Operation>::read(std::move(url), pending->request, platform_);
      found && finish<Operation>(pending, *found)) {
    return Routed::finished;
  }
  log(TilvaneLogLevel::warning, Operation::texts.unmatchedCallback);
  return passesOnUnmatched<Operation> ? Routed::goOn : Routed::refused;
}

}  // namespace tilvanego::detail
