#pragma once

#include <memory>
#include <optional>
#include <utility>

#include <tilvanego/facade/Facade.h>
#include <tilvanego/facade/OperationTransport.h>
#include <tilvanego/platform/HostCode.h>
#include <tilvanego/values/Wiping.h>

/// What `Facade` does with the record of an operation in its pending store.
namespace tilvanego::detail {

template <typename Operation>
void Facade::keepForRestart(const Slot<Operation>& pending) {
  if (!records_) return;
  records_->load();
  try {
    pending->startedAt = platform_.clock->now();
  } catch (...) {
    // The system's time, which it has already, is as good for a person.
  }
  if (slot<Operation>() != pending) return;
  pending->record = records_->newId();
  records_->add(Operation::kind, pending->record,
                pendingRecord(pending->request, pending->transport, pending->startedAt));
}

template <typename Operation>
std::optional<typename Operation::Result> Facade::readAndKeep(const Slot<Operation>& pending, URL& url) {
  // Set aside before reading, which takes the URL.
  auto callback = pending->record != 0 ? std::optional(url) : std::nullopt;
  auto found = OperationTransport<Operation>::read(std::move(url), pending->request, platform_,
                                                   unsealedListener(Operation::kind, pending->record));
  if (found && callback) records_->setCallback(Operation::kind, pending->record, {*std::move(callback)});
  return found;
}

template <typename Operation>
std::optional<typename Operation::Request> Facade::resume(Completion<Operation> completion) {
  if (!records_) return std::nullopt;
  records_->load();
  const auto id = records_->oldestInterrupted(Operation::kind);
  if (id == 0 || ended_ || isAnyInProgress(typename BlockersOf<Operation>::List{})) return std::nullopt;
  const PendingRecord& record = *records_->find(Operation::kind, id);
  auto request = restoredRequest<typename Operation::Request>(record.request);
  if (!request) return std::nullopt;
  const auto pending = std::make_shared<Pending<Operation>>(*request, std::move(completion), record.startedAt,
                                                            record.transport, id);
  pending->isDelivering = record.callback.has_value();
  records_->resume(Operation::kind, id);
  slot<Operation>() = pending;
  if (pending->isDelivering) {
    postOrEnd(mainQueue_, [weak = weak_from_this(), resumed = std::weak_ptr(pending)] {
      const auto facade = weak.lock();
      const auto waiting = resumed.lock();
      if (facade && waiting) facade->template deliverKept<Operation>(waiting);
    });
  }
  return request;
}

template <typename Operation>
void Facade::deliverKept(const Slot<Operation>& pending) {
  if (slot<Operation>() != pending) return;
  const PendingRecord* record = records_->find(Operation::kind, pending->record);
  if (record == nullptr || !record->callback) return;
  KeptCallback callback = *record->callback;
  const WipedAtEnd wiped(callback.url);
  const auto read = [&]() -> std::optional<typename Operation::Result> {
    if constexpr (Operation::kind == OperationKind::payment) {
      const auto& request = pending->request;
      if (callback.isUnsealed)
        return parseCallback<Operation>(std::move(callback.url), &request.requestId(),
                                        &request.callbackURL());
    }
    return readAndKeep<Operation>(pending, callback.url);
  };
  if (const auto found = read()) finish<Operation>(pending, *found);
}

}  // namespace tilvanego::detail
