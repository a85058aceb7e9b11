#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include <tilvanego/facade/TilvaneGoSDK.h>

#include "Entry.h"
#include "Receipt.h"

namespace tilvanego::till {

/// A host without its window: it starts operations, and keeps what became of them. Used on the main thread
/// only.
class Till {
 public:
  /// Older lines of the log and older receipts are forgotten.
  static constexpr std::size_t mostLines = 1000;
  static constexpr std::size_t mostReceipts = 500;

  /// Callbacks have the URL "SCHEME://done/KIND". `newId` gives the id of each request, `changed` is called
  /// after each change. `sdk` must live longer than this object.
  Till(TilvaneGo& sdk, std::string scheme, std::function<std::string()> newId, std::function<void()> changed);
  Till(const Till&) = delete;
  Till& operator=(const Till&) = delete;
  ~Till();

  /// Resumes what an earlier process left, one operation of each kind; the next once that is over.
  void resumeInterrupted();

  /// Starts an operation. If the entry can't be sent, `fault` says why.
  void start(const Entry& entry);
  void cancel(OperationKind kind);
  /// A callback URL that the desktop brings.
  void receive(const URL& url);
  /// A line of the log.
  void note(std::string line);

  [[nodiscard]] std::vector<PendingOperation> pending() const { return sdk_.pendingOperations(); }
  /// From the oldest to the newest.
  [[nodiscard]] const std::deque<Receipt>& receipts() const { return receipts_; }
  /// How many there ever were.
  [[nodiscard]] std::size_t receiptsEver() const { return receiptsEver_; }
  [[nodiscard]] const std::deque<std::string>& log() const { return log_; }
  /// How many lines were ever written.
  [[nodiscard]] std::size_t written() const { return written_; }
  /// What went wrong last, as a sentence; empty: nothing.
  [[nodiscard]] const std::string& fault() const { return fault_; }

 private:
  struct Life;

  template <OperationKind kind>
  void startKind(const Entry& entry);
  template <OperationKind kind>
  void resumeKind();
  template <OperationKind kind>
  [[nodiscard]] auto completion();
  void keep(OperationKind kind, Receipt receipt);

  TilvaneGo& sdk_;
  std::string scheme_;
  std::function<std::string()> newId_;
  std::function<void()> changed_;
  /// The amounts of what is pending, for the receipts.
  std::map<OperationKind, std::string> asked_;
  std::deque<Receipt> receipts_;
  std::size_t receiptsEver_ = 0;
  std::deque<std::string> log_;
  std::size_t written_ = 0;
  std::string fault_;
  /// Completions that come later hold weak pointers to it.
  std::shared_ptr<Life> life_;
};

}  // namespace tilvanego::till
