#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tilvanego/facade/PendingOperations.h>
#include <tilvanego/facade/PendingRecord.h>
#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/platform/PendingStore.h>

namespace tilvanego::detail {

/// The records in a pending store: those of the pending operations, of those whose completion is running, and
/// of those that an earlier process left (interrupted).
///
/// The store holds one text for each kind, with all its records: a completion that starts the same operation
/// again has two. The text is written after each change. The store and `warn` are host code, and may call the
/// library: what changes during a call of the store is written when that call has returned. So the store gets
/// no call within a call, and has the newest state in the end.
class PendingRecords {
 public:
  /// Identifies a record within this process. 0 is none.
  using Id = std::uint64_t;

  /// `warn` is called with each failure of the store. `store` must outlive this object.
  PendingRecords(PendingStore& store, std::function<void(const std::string& message)> warn)
      : store_(store), warn_(std::move(warn)) {}

  /// Reads what an earlier process left, once. All other functions require it.
  void load();

  [[nodiscard]] Id newId() { return ++lastId_; }
  /// Adds the record of a pending operation. If there are too many, drops the oldest one of its kind.
  void add(OperationKind kind, Id id, PendingRecord record);
  /// Stores the callback of a record. That of an earlier call stays if it was unsealed and this one isn't.
  /// One that must not be written stays in memory, and only for an interrupted operation, which needs it
  /// there.
  void setCallback(OperationKind kind, Id id, KeptCallback callback);
  /// Wipes its callback, which may have card data.
  void remove(OperationKind kind, Id id);

  /// The record, or null. Valid until the next call of host code.
  [[nodiscard]] const PendingRecord* find(OperationKind kind, Id id) const;

  [[nodiscard]] bool hasInterrupted() const;
  [[nodiscard]] std::vector<InterruptedOperation> interrupted() const;
  /// The oldest interrupted operation of the kind, or 0.
  [[nodiscard]] Id oldestInterrupted(OperationKind kind) const;
  /// Makes the record that of a pending operation.
  void resume(OperationKind kind, Id id);

  struct Taker {
    OperationKind kind;
    Id id;
  };
  /// The interrupted operation that waits for this callback: its callback URL is this one, and its request id
  /// is `requestId`. If none has that id, and `unnamed` is true, one whose id can't differ, since the
  /// callback or the request has none. In the router's order, the oldest first.
  [[nodiscard]] std::optional<Taker> takerOf(const URL& callback, const std::optional<std::string>& requestId,
                                             bool unnamed) const;
  /// Whether an interrupted operation of the kind waits for a callback with this URL.
  [[nodiscard]] bool awaits(OperationKind kind, const URL& callback) const;

 private:
  struct Entry {
    Id id;
    PendingRecord record;
    bool isInterrupted;

    /// Whether it waits for a callback with this URL.
    [[nodiscard]] bool awaits(const URL& callback) const;
  };
  using Entries = std::vector<Entry>;

  [[nodiscard]] Entries& of(OperationKind kind) { return entries_[static_cast<std::size_t>(kind)]; }
  [[nodiscard]] const Entries& of(OperationKind kind) const {
    return entries_[static_cast<std::size_t>(kind)];
  }
  [[nodiscard]] Entry* entry(OperationKind kind, Id id);
  void readKind(OperationKind kind);
  void save(OperationKind kind);
  void writeChanges();
  void write(OperationKind kind);
  /// Tells the same reason once, though each kind has it.
  void warnOfReading(OperationKind kind, const std::string& reason);

  PendingStore& store_;
  std::function<void(const std::string& message)> warn_;
  std::array<Entries, operationKinds.size()> entries_;
  /// By kind: the text in the store is an older one.
  std::array<bool, operationKinds.size()> changed_{};
  /// A call of the store is running.
  bool isBusy_ = false;
  bool isLoaded_ = false;
  Id lastId_ = 0;
  std::string toldReason_;
};

}  // namespace tilvanego::detail
