#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <expected>
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

/// The records in a pending store: those of the pending operations, of those whose completion is running or
/// whose coroutine hasn't gone on yet, and of those that an earlier process left (interrupted).
///
/// The store holds one text for each kind, with all its records: a completion that starts the same operation
/// again has two. The text is written after each change. The store and `warn` are host code, and may call the
/// library: what changes during a call of the store is written when that call has returned. So the store gets
/// no call within a call, and has the newest state in the end.
///
/// A text that wasn't read is never replaced or removed. The text of a kind is read before its first write,
/// and at each use until that succeeds; what can't be understood is set aside first. After a write that
/// failed it is read again, since another process may have written one: what this process didn't write is
/// added, and written with the rest. That process may have written the records of this one, too.
class PendingRecords {
 public:
  /// Identifies a record within this process. 0 is none.
  using Id = std::uint64_t;

  /// `warn` is called with each failure of the store. `store` must outlive this object.
  PendingRecords(PendingStore& store, std::function<void(const std::string& message)> warn)
      : store_(store), warn_(std::move(warn)) {}

  /// Reads what an earlier process left, of each kind that wasn't read yet. All other functions require it.
  void load();

  [[nodiscard]] Id newId() { return ++lastId_; }
  /// Adds the record of a pending operation. If there are too many of its kind, drops an interrupted one: the
  /// oldest without a callback, else the oldest.
  void add(OperationKind kind, Id id, PendingRecord record);
  /// Stores the callback of a record. That of an earlier call stays if it was unsealed and this one isn't:
  /// this one is then remembered as the one that named it.
  /// One that must not be written stays in memory; the store then has the record without a callback. Returns
  /// false if the store doesn't have the newest state of the record, card data apart.
  bool setCallback(OperationKind kind, Id id, KeptCallback callback);
  /// Wipes its callback, which may have card data.
  void remove(OperationKind kind, Id id);
  /// Sets whether the result of an operation waits for the turn of its coroutine.
  void setWaiting(OperationKind kind, Id id, bool isWaiting);
  /// Appends the operations whose result waits.
  void appendWaiting(OperationKind kind, std::vector<PendingOperation>& operations) const;
  /// Nobody in this process receives the result of an operation whose callback has come: makes its record
  /// that of an interrupted one, without a call of host code. Removes a record without a callback.
  void leave(OperationKind kind, Id id);

  /// The record, or null. Valid until the next call of host code.
  [[nodiscard]] const PendingRecord* find(OperationKind kind, Id id) const;

  [[nodiscard]] std::vector<InterruptedOperation> interrupted() const;
  /// The oldest interrupted operation of the kind, or 0.
  [[nodiscard]] Id oldestInterrupted(OperationKind kind) const;
  /// Makes the record that of a pending operation. If it has a callback, this one is delivered, and the
  /// operation takes no other.
  void resume(OperationKind kind, Id id);

  struct Taker {
    OperationKind kind;
    Id id;
    /// Its callback has come already.
    bool hasCallback = false;
  };
  /// Whether any operation could be a taker.
  [[nodiscard]] bool hasTakers() const;
  /// The interrupted operation that waits for this callback: its callback URL is this one, and its request id
  /// is `requestId`. If none has that id, the one whose callback with that id has come. If there is none
  /// either, and `unnamed` is true, one whose id can't differ, since the callback or the request has none. In
  /// the router's order, the oldest first. With an id, or if `unnamed` is true, the one before all of these
  /// to which the very same URL came.
  [[nodiscard]] std::optional<Taker> takerOf(const URL& callback, const std::optional<std::string>& requestId,
                                             bool unnamed) const;
  /// All that have this callback URL, whether their callback has come or not. The oldest first.
  [[nodiscard]] std::vector<Taker> takersAt(OperationKind kind, const URL& callback) const;
  /// The payment whose result this callback named on the pasteboard, in this process, and that has it; or 0.
  [[nodiscard]] Id unsealedBy(const URL& callback) const;
  /// The oldest interrupted operation of the kind that waits for a callback with this URL, or null. Valid
  /// until the next call of host code.
  [[nodiscard]] const PendingRecord* waitingAt(OperationKind kind, const URL& callback) const;

 private:
  struct Entry {
    Id id;
    PendingRecord record;
    bool isInterrupted;
    /// It was resumed with its callback.
    bool isDelivering = false;
    /// Its result waits for the turn of its coroutine.
    bool isWaiting = false;
    bool callbackCame = false;
    /// Its result was on the pasteboard: a callback that only names it tells nothing more.
    bool wasUnsealed = false;
    /// By which a callback named that result.
    std::optional<std::string> handoffId = std::nullopt;
    /// The store has it, perhaps in an older state.
    bool isStored = false;
    /// The host was told why it can't be written.
    bool isToldOf = false;
    /// The number of its state, and of the state in the store.
    std::uint32_t state = 1;
    std::uint32_t storedState = 0;

    /// Whether it is interrupted, or was resumed with its callback, and has this callback URL.
    [[nodiscard]] bool takes(const URL& callback) const;
    [[nodiscard]] bool isInStore() const { return isStored && storedState == state; }
  };
  using Entries = std::vector<Entry>;
  struct OfKind {
    Entries entries;
    /// The text in the store is in `entries`, or there is none.
    bool isRead = false;
    /// The text in the store is an older one.
    bool isChanged = false;
    /// The text in the store has an operation that is over.
    bool holdsEnded = false;
    /// The hashes of the texts that this process read or wrote last, and tried to write.
    std::optional<std::size_t> known;
    std::optional<std::size_t> tried;
    std::string toldReason;

    /// Whether the store has the newest state of all of them, and nothing else.
    [[nodiscard]] bool isInStore() const;
  };

  [[nodiscard]] OfKind& of(OperationKind kind) { return kinds_[static_cast<std::size_t>(kind)]; }
  [[nodiscard]] const OfKind& of(OperationKind kind) const { return kinds_[static_cast<std::size_t>(kind)]; }
  [[nodiscard]] Entry* entry(OperationKind kind, Id id);
  /// Adds what the store holds and this process didn't write.
  void readKind(OperationKind kind);
  /// Removes those of this process from what the store holds, and notes which ones it holds.
  void takeOwn(OperationKind kind, std::vector<PendingRecord>& found);
  void addFound(OperationKind kind, std::vector<PendingRecord> records);
  /// Returns false if no record had to be dropped, or none could be.
  bool dropOne(OperationKind kind);
  void save(OperationKind kind);
  void writeChanges();
  void write(OperationKind kind);
  [[nodiscard]] std::expected<void, std::string> tryToWrite(OperationKind kind);
  void warnOfDropping(OperationKind kind);
  /// Tells the same reason of the store once, though each kind has it.
  void warnOfReading(OperationKind kind, const std::string& reason);
  /// The text of this kind can't be understood, and was moved aside, or couldn't be.
  void warnOfText(OperationKind kind, const std::string& reason,
                  const std::expected<void, std::string>& moved);
  void tellOfReading(OperationKind kind, const std::string& reason);
  void warnOfWriting(OperationKind kind, const std::string& reason);

  PendingStore& store_;
  std::function<void(const std::string& message)> warn_;
  std::array<OfKind, operationKinds.size()> kinds_;
  /// A call of the store is running.
  bool isBusy_ = false;
  Id lastId_ = 0;
};

}  // namespace tilvanego::detail
