#include <tilvanego/facade/Facade.h>

#include <algorithm>
#include <string>
#include <utility>

#include <tilvanego/facade/PendingOf.h>
#include <tilvanego/facade/RouterOrder.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/HostCode.h>
#include <tilvanego/transports/PaymentTransports.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {

Facade::Facade(Platform platform)
    : platform_(guardedPlatform(std::move(platform))),
      mainQueue_(*platform_.mainQueue),
      manualClock_(dynamic_cast<const ManualClock*>(platform_.clock.get())) {
  if (!platform_.pendingStore) return;
  records_ = std::make_unique<PendingRecords>(*platform_.pendingStore, [this](const std::string& message) {
    log(TilvaneLogLevel::warning, message);
  });
}

void Facade::end() {
  // Everything is moved out first: the destructors of what is moved may call this object.
  ended_ = true;
  const auto logger = std::exchange(logger_, nullptr);
  const auto slots = std::exchange(slots_, {});
  for (const Slot& pending : slots) {
    if (pending) pending->dropCompletion();
  }
}

void Facade::setLogger(TilvaneLogger logger) {
  if (ended_) return;
  auto replaced = logger ? std::make_shared<const TilvaneLogger>(std::move(logger)) : nullptr;
  logger_.swap(replaced);
}

void Facade::requireMainThread(std::string_view operation) const {
  if (mainQueue_.isCurrent()) return;
  wrongUse(std::string(operation) +
           " was called from another thread than the main thread. Call it on the thread that drains the main "
           "queue, or post the call to that queue.");
}

bool Facade::isBlocked(const OperationType& type) const {
  return std::ranges::any_of(operationKinds, [&](OperationKind kind) {
    return type.isBlockedBy[static_cast<std::size_t>(kind)] && isInProgress(kind);
  });
}

void Facade::cancel(OperationKind kind) {
  const Slot cancelled = std::exchange(slot(kind), nullptr);
  if (!cancelled) return;
  // What the completion captured ends after the record.
  dropRecord(kind, cancelled->record);
  cancelled->dropCompletion();
}

bool Facade::isCallback(OperationKind kind, const URL& url) const {
  const Slot& pending = slot(kind);
  return (pending && !pending->isDelivering && callbackURLsMatch(url, pending->callbackURL())) ||
         interruptedAt(kind, url) != nullptr;
}

bool Facade::finish(const Slot& pending, const void* result) {
  return end(pending, [&] { pending->deliver(result); });
}

void Facade::fail(const Slot& pending, const LaunchFailure& failure) {
  end(pending, [&] { pending->fail(failure); });
}

template <typename Deliver>
bool Facade::end(const Slot& pending, const Deliver& deliver) {
  if (!isPending(pending)) return false;
  // Also if the completion throws: it has run.
  const RecordEnd recordEnd(*this, pending->type.kind, pending->record);
  // Emptied first: the completion may start the same operation again. The caller holds the operation.
  slot(pending->type.kind) = nullptr;
  deliver();
  return true;
}

void Facade::refuse(Pending& pending, const LaunchFailure& failure) {
  // Another completion may be running, whose record this one must not take.
  const RecordEnd none(*this, pending.type.kind, 0);
  pending.fail(failure);
}

void Facade::start(const Slot& pending) {
  const OperationType& type = pending->type;
  debugLine(std::string(type.texts.sending) + pending->describe() + "]");
  if (pending->transport) debugLine("Sending Transport - [" + pending->transport->text() + "]");
  if (ended_) return;
  if (isBlocked(type)) return refuse(*pending, Blocked{});
  if (const auto message = pending->validate()) {
    return refuse(*pending, cases::InvalidRequest{std::string(*message)});
  }
  pending->startedAt = quietNow();
  slot(type.kind) = pending;
  try {
    launchPending(pending);
  } catch (...) {
    // There is no memory even for a failure. What the completion throws leaves with an empty slot.
    if (isPending(pending)) cancel(type.kind);
    throw;
  }
}

void Facade::launchPending(const Slot& pending) {
  auto url = builtLink(pending);
  const WipedAtEnd wiped(url);
  if (!url) return fail(pending, url.error());
  // Host code may have ended the operation, here and below; then no link is opened.
  if (isPending(pending)) log(TilvaneLogLevel::info, pending->type.texts.opening);
  if (isPending(pending)) keepForRestart(pending);
  if (isPending(pending)) openPaymentApp(*url, pending->type.kind);
}

std::expected<URL, LaunchFailure> Facade::builtLink(const Slot& pending) try {
  auto url = inlineLink(*pending);
  const WipedAtEnd wiped(url);
  // If host code has ended the operation, builds no other form, and keeps the pasteboard.
  if (pending->transport && isPending(pending)) return paymentLink(pending, std::move(url));
  if (!url) return std::unexpected(cases::InvalidRequest{buildFailure(pending->type.kind)});
  return *std::move(url);
} catch (...) {
  // An exception of a port, or a failed allocation.
  return std::unexpected(cases::InvalidRequest{buildFailure(pending->type.kind)});
}

std::optional<URL> Facade::inlineLink(const Pending& pending) {
  LinkItems items;
  pending.addItems(items);
  auto url = writeLink(pending.type.texts.target, items.items());
  debugLine(std::string(pending.type.texts.urlLabel) + redactedURLText(url));
  return url;
}

std::expected<URL, LaunchFailure> Facade::paymentLink(const Slot& pending, std::optional<URL>&& inlineURL) {
  const auto& payment = static_cast<const PendingOf<OperationKind::payment>&>(*pending);
  auto url = paymentAppURL(std::move(inlineURL), payment.request(), *payment.transport, platform_);
  if (url) return *std::move(url);
  if (!url.error().reason.empty()) log(TilvaneLogLevel::warning, url.error().reason);
  return std::unexpected(std::move(url).error().error);
}

void Facade::notOpened(OperationKind kind) {
  const Slot pending = slot(kind);
  if (pending && !pending->isDelivering) fail(pending, NotOpened{});
}

Facade::Routed Facade::route(OperationKind kind, URL& url) {
  const Slot pending = slot(kind);
  if (!pending || pending->isDelivering) return Routed::goOn;
  if (readAndFinish(pending, url)) return Routed::finished;
  log(TilvaneLogLevel::warning, unmatchedCallback(kind));
  return pending->type.passesOnUnmatched ? Routed::goOn : Routed::refused;
}

bool Facade::handleCallback(URL url) {
  if (keptForInterrupted(url)) return true;
  for (const OperationKind kind : routerOrder) {
    const Routed routed = route(kind, url);
    if (routed != Routed::goOn) return routed == Routed::finished;
  }
  std::string names;
  for (const OperationKind kind : operationKinds) {
    const bool isLast = kind == operationKinds.back();
    names.append(names.empty() ? "" : isLast ? ", or " : ", ").append(operationWords(kind));
  }
  log(TilvaneLogLevel::warning, "Received callback with no active " + names + ".");
  return false;
}

void Facade::log(TilvaneLogLevel level, std::string_view message) {
  // Copied for each message, so that a logger may replace itself while it runs.
  if (const auto current = logger_) runListener("The logger", [&] { (*current)(level, message); });
}

void Facade::openPaymentApp(const URL& url, OperationKind kind) {
  const auto reported = std::make_shared<bool>(false);
  const auto report = [reported, weak = weak_from_this(), kind](bool opened) {
    const auto self = weak.lock();
    if (!self) return;
    self->requireMainThread("The completion handler of openURL");
    if (std::exchange(*reported, true)) return;
    // A later block of the main queue acts on the outcome: the start has then returned, even if it called
    // this handler.
    postOrEnd(self->mainQueue(), [weak, opened, kind] {
      const auto facade = weak.lock();
      if (facade && !opened) facade->notOpened(kind);
    });
  };
  try {
    platform_.application->openURL(url, report);
  } catch (...) {
    report(false);
  }
}

}  // namespace tilvanego::detail
