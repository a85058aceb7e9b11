// What the facade does with its pending store.

#include <algorithm>
#include <ctime>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <tilvanego/facade/Facade.h>
#include <tilvanego/facade/PendingOf.h>
#include <tilvanego/facade/ReadingPlatform.h>
#include <tilvanego/facade/RouterOrder.h>
#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/frame/QueryLookup.h>
#include <tilvanego/platform/HostCode.h>
#include <tilvanego/transports/CompressedURLPayload.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>
#include <tilvanego/transports/PaymentTransports.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {

std::optional<std::string> namedRequestId(const URL& callback) {
  constexpr auto names = requestIdKey<PaymentResponse::Fields>.aliases;
  return queryValue(callback, {names[0], names[1], names[2], names[3]});
}

Date Facade::quietNow() const {
  return manualClock_ != nullptr ? manualClock_->now()
                                 : Date::fromSecondsSince1970(static_cast<double>(std::time(nullptr)));
}

std::vector<PendingOperation> Facade::pendingOperations() const {
  std::vector<PendingOperation> operations;
  for (const OperationKind kind : routerOrder) {
    if (records_) records_->appendWaiting(kind, operations);
    const Slot& pending = slot(kind);
    if (!pending) continue;
    const std::string* const id = pending->requestId();
    operations.push_back(
        {kind, id ? std::optional(*id) : std::nullopt, pending->startedAt, pending->transport});
  }
  return operations;
}

std::vector<InterruptedOperation> Facade::interruptedOperations() const {
  if (!records_) return {};
  records_->load();
  return records_->interrupted();
}

bool Facade::forgetInterrupted(OperationKind kind) {
  if (!records_) return false;
  records_->load();
  const auto id = records_->oldestInterrupted(kind);
  if (id != 0) records_->remove(kind, id);
  return id != 0;
}

PendingRecords::Id Facade::takeEndingRecord(OperationKind kind) {
  const auto record = recordEnd_ != nullptr ? recordEnd_->release() : 0;
  if (record != 0) records_->setWaiting(kind, record, true);
  return record;
}

void Facade::passRecordOn(OperationKind kind, PendingRecords::Id record) {
  if (record != 0) records_->setWaiting(kind, record, false);
}

void Facade::dropRecord(OperationKind kind, PendingRecords::Id record) noexcept {
  if (record == 0) return;
  try {
    records_->remove(kind, record);
  } catch (...) {
    reportDroppedException("The pending store");
  }
}

void Facade::leaveRecord(OperationKind kind, PendingRecords::Id record) noexcept {
  if (record == 0) return;
  try {
    records_->leave(kind, record);
  } catch (...) {
    reportDroppedException("The pending store");
  }
}

void Facade::keepForRestart(const Slot& pending) {
  if (!records_) return;
  records_->load();
  try {
    pending->startedAt = platform_.clock->now();
  } catch (...) {
    // The system's time, which it has already, is as good for a person.
  }
  if (!isPending(pending)) return;
  pending->record = records_->newId();
  records_->add(pending->type.kind, pending->record, pending->toRecord());
}

bool Facade::readAndFinish(const Slot& pending, URL& url) {
  // Set aside before reading, which takes the URL.
  auto callback = pending->record != 0 ? std::optional(url) : std::nullopt;
  const auto keepAndFinish = [&](const void* result) {
    if (callback) records_->setCallback(pending->type.kind, pending->record, {*std::move(callback)});
    return finish(pending, result);
  };
  // By reference, so that it needs no memory.
  return pending->read(std::move(url), platform_, unsealedListener(*pending), std::cref(keepAndFinish));
}

PendingRecords::Id Facade::resumable(OperationKind kind) const {
  if (!records_) return 0;
  records_->load();
  return ended_ || isBlocked(operationType(kind)) ? 0 : records_->oldestInterrupted(kind);
}

void Facade::resume(const Slot& pending, PendingRecords::Id record) {
  pending->record = record;
  records_->resume(pending->type.kind, record);
  slot(pending->type.kind) = pending;
  if (!pending->isDelivering) return;
  postOrEnd(mainQueue_, [weak = weak_from_this(), resumed = std::weak_ptr(pending)] {
    const auto facade = weak.lock();
    const auto waiting = resumed.lock();
    if (facade && waiting) facade->deliverKept(waiting);
  });
}

void Facade::deliverKept(const Slot& pending) {
  if (!isPending(pending)) return;
  const PendingRecord* record = records_->find(pending->type.kind, pending->record);
  if (record == nullptr || !record->callback) return;
  KeptCallback callback = *record->callback;
  const WipedAtEnd wiped(callback.url);
  if (!callback.isUnsealed) {
    readAndFinish(pending, callback.url);
    return;
  }
  pending->readItems(std::move(callback.url), [&](const void* result) { return finish(pending, result); });
}

UnsealedListener Facade::unsealedListener(const Pending& pending) const {
  if (pending.record == 0) return {};
  return [records = records_.get(), kind = pending.type.kind, record = pending.record](const URL& callback) {
    records->setCallback(kind, record, {callback, true});
  };
}

const PendingRecord* Facade::interruptedAt(OperationKind kind, const URL& url) const {
  if (!records_) return nullptr;
  records_->load();
  return records_->waitingAt(kind, url);
}

std::optional<PendingRecords::Taker> Facade::interruptedTaker(const URL& url) const {
  if (!records_) return std::nullopt;
  records_->load();
  if (!records_->hasTakers()) return std::nullopt;
  const auto requestId = namedRequestId(url);
  if (const auto reader = requestId ? 0 : readerOf(url); reader != 0) {
    const auto takers = records_->takersAt(OperationKind::payment, url);
    const auto found = std::ranges::find(takers, reader, &PendingRecords::Taker::id);
    return found == takers.end() ? std::nullopt : std::optional(*found);
  }
  bool isPendings = false;
  bool namesPending = false;
  for (const Slot& pending : slots_) {
    if (!pending || pending->isDelivering || !callbackURLsMatch(url, pending->callbackURL())) continue;
    isPendings = true;
    const std::string* const id = pending->requestId();
    namesPending = namesPending || (requestId && id && *id == *requestId);
  }
  if (namesPending) return std::nullopt;
  return records_->takerOf(url, requestId, !isPendings);
}

PendingRecords::Id Facade::readerOf(const URL& url) const {
  if (!resultHandoffId(url) && !isCompressed(url)) return 0;
  // Copied: the pasteboard and the clock are host code, which may end what is here.
  std::vector<std::pair<PendingRecords::Id, PaymentRequest>> readers;
  const Slot& pending = slot(OperationKind::payment);
  if (pending && !pending->isDelivering && callbackURLsMatch(url, pending->callbackURL())) {
    readers.emplace_back(pending->record,
                         static_cast<const PendingOf<OperationKind::payment>&>(*pending).request());
  }
  const auto takers = records_->takersAt(OperationKind::payment, url);
  for (const auto& taker : takers) {
    const PendingRecord& record = *records_->find(taker.kind, taker.id);
    auto request = restoredRequest<PaymentRequest>(record.request);
    if (request) readers.emplace_back(taker.id, *std::move(request));
  }
  if (takers.empty() || (readers.size() == 1 && !takers.front().hasCallback)) return 0;
  // Its result isn't on the pasteboard any more.
  if (const auto unsealed = records_->unsealedBy(url); unsealed != 0) return unsealed;
  const Platform reading = readingPlatform(platform_);
  for (const auto& [id, request] : readers) {
    const auto result = paymentResult(URL(url), request, reading);
    if (!result || !result->response()) continue;
    const auto* failure = std::get_if<PaymentResult::Failure>(&*result);
    if (failure && std::holds_alternative<PaymentError::RequestIdMismatch>(failure->error)) continue;
    return id;
  }
  return 0;
}

bool Facade::keptForInterrupted(const URL& url) {
  const auto taker = interruptedTaker(url);
  if (!taker) return false;
  const auto& kept = records_->find(taker->kind, taker->id)->callback;
  // A callback that names nothing on the pasteboard, or no longer, gives way to one that does.
  const bool isUnread = !kept || (!kept->isUnsealed && resultHandoffId(kept->url));
  std::optional<URL> unsealed;
  const WipedAtEnd wiped(unsealed);
  if (taker->kind == OperationKind::payment && isUnread && resultHandoffId(url)) {
    unsealed = unsealedCallback(taker->id, url);
  }
  // The pasteboard is host code, which may have resumed or forgotten the payment.
  const auto takers = records_->takersAt(taker->kind, url);
  if (std::ranges::find(takers, taker->id, &PendingRecords::Taker::id) == takers.end()) return false;
  if (unsealed && records_->setCallback(taker->kind, taker->id, {*unsealed, true})) {
    clearHandoffEnvelope(*platform_.pasteboard, *resultHandoffId(url));
  }
  if (unsealed || !taker->hasCallback) records_->setCallback(taker->kind, taker->id, {url});
  return true;
}

std::optional<URL> Facade::unsealedCallback(PendingRecords::Id record, const URL& url) const {
  const PendingRecord* const found = records_->find(OperationKind::payment, record);
  const auto request = found ? restoredRequest<PaymentRequest>(found->request) : std::nullopt;
  std::optional<URL> unsealed;
  if (request) {
    static_cast<void>(paymentResult(URL(url), *request, readingPlatform(platform_),
                                    [&](const URL& callback) { unsealed = callback; }));
  }
  return unsealed;
}

}  // namespace tilvanego::detail
