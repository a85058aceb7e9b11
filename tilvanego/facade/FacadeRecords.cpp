// What the facade does with its pending store.

#include <tilvanego/facade/FacadeRecords.h>

#include <ctime>
#include <string>
#include <type_traits>

#include <tilvanego/facade/RouterOrder.h>
#include <tilvanego/frame/QueryLookup.h>
#include <tilvanego/platform/HostCode.h>

namespace tilvanego::detail {
namespace {

/// The request id in the items of a callback. That of a compressed or sealed result isn't there.
std::optional<std::string> namedRequestId(const URL& callback) {
  constexpr auto& names = requestIdKey<PaymentResponse::Fields>.aliases;
  return queryValue(callback, {names[0], names[1], names[2], names[3]});
}

}  // namespace

Date Facade::quietNow() const {
  return manualClock_ != nullptr ? manualClock_->now()
                                 : Date::fromSecondsSince1970(static_cast<double>(std::time(nullptr)));
}

std::vector<PendingOperation> Facade::pendingOperations() const {
  std::vector<PendingOperation> operations;
  forEachInRouterOrder([&]<OperationKind kind>() {
    if (const auto& pending = slot<OperationOf<kind>>()) {
      operations.push_back({kind, pending->request.requestId(), pending->startedAt, pending->transport});
    }
  });
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

void Facade::dropRecord(OperationKind kind, PendingRecords::Id record) noexcept {
  if (record == 0) return;
  try {
    records_->remove(kind, record);
  } catch (...) {
    reportDroppedException("The pending store");
  }
}

UnsealedListener Facade::unsealedListener(OperationKind kind, PendingRecords::Id record) const {
  if (record == 0) return {};
  return [records = records_.get(), kind, record](const URL& callback) {
    records->setCallback(kind, record, {callback, true});
  };
}

bool Facade::interruptedAwaits(OperationKind kind, const URL& url) const {
  if (!records_) return false;
  records_->load();
  return records_->awaits(kind, url);
}

std::optional<PendingRecords::Taker> Facade::interruptedTaker(const URL& url) const {
  if (!records_) return std::nullopt;
  records_->load();
  if (!records_->hasInterrupted()) return std::nullopt;
  const auto requestId = namedRequestId(url);
  bool isPendings = false;
  bool namesPending = false;
  forEachOperation([&]<OperationKind kind>() {
    const auto& pending = slot<OperationOf<kind>>();
    if (!pending || !callbackURLsMatch(url, pending->request.callbackURL())) return;
    isPendings = true;
    namesPending = namesPending || (requestId && pending->request.requestId() == *requestId);
  });
  if (namesPending) return std::nullopt;
  return records_->takerOf(url, requestId, !isPendings);
}

bool Facade::keptForInterrupted(const URL& url) {
  const auto taker = interruptedTaker(url);
  if (!taker) return false;
  records_->setCallback(taker->kind, taker->id, {url});
  if (taker->kind == OperationKind::payment) {
    // A result on the pasteboard is read now: it expires, and any program may replace it.
    const PendingRecord* record = records_->find(taker->kind, taker->id);
    const auto request = record ? restoredRequest<PaymentRequest>(record->request) : std::nullopt;
    if (request) {
      static_cast<void>(
          paymentResult(URL(url), *request, platform_, unsealedListener(taker->kind, taker->id)));
    }
  }
  return true;
}

}  // namespace tilvanego::detail
