#include <tilvanego/facade/PendingRecords.h>

#include <algorithm>
#include <expected>
#include <iterator>
#include <utility>

#include <tilvanego/facade/RouterOrder.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {
namespace {

std::string nameOf(OperationKind kind) { return std::string(rawText(kind)); }

/// Sets a flag for as long as it lives.
class Raised {
 public:
  explicit Raised(bool& flag) : flag_(flag) { flag_ = true; }
  Raised(const Raised&) = delete;
  Raised& operator=(const Raised&) = delete;
  ~Raised() { flag_ = false; }

 private:
  bool& flag_;
};

}  // namespace

bool PendingRecords::Entry::awaits(const URL& callback) const {
  return isInterrupted && !record.callback && callbackURLsMatch(callback, record.callbackURL);
}

PendingRecords::Entry* PendingRecords::entry(OperationKind kind, Id id) {
  const auto found = std::ranges::find(of(kind), id, &Entry::id);
  return found == of(kind).end() ? nullptr : &*found;
}

const PendingRecord* PendingRecords::find(OperationKind kind, Id id) const {
  const auto found = std::ranges::find(of(kind), id, &Entry::id);
  return found == of(kind).end() ? nullptr : &found->record;
}

void PendingRecords::load() {
  if (std::exchange(isLoaded_, true)) return;
  {
    const Raised busy(isBusy_);
    for (const OperationKind kind : routerOrder) readKind(kind);
  }
  writeChanges();
}

void PendingRecords::readKind(OperationKind kind) {
  const auto text = store_.read(nameOf(kind));
  if (!text) return warnOfReading(kind, text.error());
  if (!*text) return;
  auto records = readPendingRecords(kind, **text);
  if (!records) {
    const auto moved = store_.setAside(nameOf(kind));
    return warnOfReading(kind, records.error() + (moved ? " It was set aside." : " " + moved.error()));
  }
  Entries found;
  for (PendingRecord& record : *records) found.push_back({newId(), std::move(record), true});
  // Host code may have started one meanwhile.
  of(kind).insert(of(kind).begin(), std::make_move_iterator(found.begin()),
                  std::make_move_iterator(found.end()));
}

void PendingRecords::warnOfReading(OperationKind kind, const std::string& reason) {
  if (reason == toldReason_) return;
  toldReason_ = reason;
  warn_("What an earlier process kept of its " + operationWords(kind) + " can't be read. " + reason);
}

void PendingRecords::add(OperationKind kind, Id id, PendingRecord record) {
  Entries& entries = of(kind);
  const bool isFull = entries.size() >= maximumPendingRecords;
  if (isFull) entries.erase(entries.begin());
  entries.push_back({id, std::move(record), false});
  save(kind);
  if (isFull) {
    warn_("Dropped the record of the oldest interrupted " + operationWords(kind) +
          ": too many were neither resumed nor forgotten.");
  }
}

void PendingRecords::setCallback(OperationKind kind, Id id, KeptCallback callback) {
  Entry* const found = entry(kind, id);
  if (found == nullptr) return;
  auto& kept = found->record.callback;
  if (kept && kept->isUnsealed && !callback.isUnsealed) return;
  const bool isWritten = mayBeWritten(kind, callback.url);
  if (!isWritten && !found->isInterrupted) return wipe(callback.url);
  kept = std::move(callback);
  if (isWritten) save(kind);
}

void PendingRecords::remove(OperationKind kind, Id id) {
  Entry* const found = entry(kind, id);
  if (found == nullptr) return;
  if (auto& callback = found->record.callback) wipe(callback->url);
  of(kind).erase(of(kind).begin() + (found - of(kind).data()));
  save(kind);
}

bool PendingRecords::hasInterrupted() const {
  return std::ranges::any_of(
      entries_, [](const Entries& entries) { return std::ranges::any_of(entries, &Entry::isInterrupted); });
}

std::vector<InterruptedOperation> PendingRecords::interrupted() const {
  std::vector<InterruptedOperation> operations;
  for (const OperationKind kind : routerOrder) {
    for (const auto& [id, record, isInterrupted] : of(kind)) {
      if (!isInterrupted) continue;
      operations.push_back(
          {kind, record.requestId, record.amount, record.startedAt, record.callback.has_value()});
    }
  }
  return operations;
}

PendingRecords::Id PendingRecords::oldestInterrupted(OperationKind kind) const {
  const auto found = std::ranges::find(of(kind), true, &Entry::isInterrupted);
  return found == of(kind).end() ? 0 : found->id;
}

void PendingRecords::resume(OperationKind kind, Id id) {
  if (Entry* const found = entry(kind, id)) found->isInterrupted = false;
}

std::optional<PendingRecords::Taker> PendingRecords::takerOf(const URL& callback,
                                                             const std::optional<std::string>& requestId,
                                                             bool unnamed) const {
  const auto first = [&](auto isIt) -> std::optional<Taker> {
    for (const OperationKind kind : routerOrder) {
      for (const Entry& one : of(kind)) {
        if (one.awaits(callback) && isIt(one.record.requestId)) return Taker{kind, one.id};
      }
    }
    return std::nullopt;
  };
  if (requestId) {
    if (auto named = first([&](const auto& id) { return id == requestId; })) return named;
  }
  if (!unnamed) return std::nullopt;
  return first([&](const auto& id) { return !requestId || !id; });
}

bool PendingRecords::awaits(OperationKind kind, const URL& callback) const {
  return std::ranges::any_of(of(kind), [&](const Entry& one) { return one.awaits(callback); });
}

void PendingRecords::save(OperationKind kind) {
  changed_[static_cast<std::size_t>(kind)] = true;
  writeChanges();
}

void PendingRecords::writeChanges() {
  // The call that is running writes them when its store has returned.
  if (isBusy_) return;
  const Raised busy(isBusy_);
  for (auto next = changed_.begin(); (next = std::ranges::find(changed_, true)) != changed_.end();) {
    *next = false;
    write(static_cast<OperationKind>(next - changed_.begin()));
  }
}

void PendingRecords::write(OperationKind kind) {
  std::vector<const PendingRecord*> records;
  for (const Entry& one : of(kind)) records.push_back(&one.record);
  if (records.empty()) {
    if (const auto removed = store_.remove(nameOf(kind)); !removed) {
      warn_("The pending store still holds a " + operationWords(kind) + " that is over. " + removed.error());
    }
    return;
  }
  const auto text = writePendingRecords(kind, records);
  const auto kept = text ? store_.keep(nameOf(kind), *text) : std::unexpected(text.error());
  if (!kept) {
    warn_("The " + operationWords(kind) + " isn't kept for the next start of this host. " + kept.error());
  }
}

}  // namespace tilvanego::detail
