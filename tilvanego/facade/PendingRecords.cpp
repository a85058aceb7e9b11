#include <tilvanego/facade/PendingRecords.h>

#include <algorithm>
#include <expected>
#include <iterator>
#include <utility>

#include <tilvanego/facade/RouterOrder.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>
#include <tilvanego/values/DateFormats.h>
#include <tilvanego/values/DebugLiteral.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {
namespace {

std::string nameOf(OperationKind kind) { return std::string(rawText(kind)); }

/// "payment "A-1001"". An id of any length and of any bytes is shown in part, and as UTF-8.
std::string shownName(OperationKind kind, const PendingRecord& record) {
  constexpr std::size_t longest = 60;
  const std::string words = operationWords(kind);
  return record.requestId ? words + " " + debugLiteral(record.requestId->substr(0, longest)) : words;
}

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

bool PendingRecords::Entry::takes(const URL& callback) const {
  return (isInterrupted || isDelivering) && callbackURLsMatch(callback, record.callbackURL);
}

bool PendingRecords::OfKind::isInStore() const {
  return !holdsEnded && std::ranges::all_of(entries, &Entry::isInStore);
}

PendingRecords::Entry* PendingRecords::entry(OperationKind kind, Id id) {
  const auto found = std::ranges::find(of(kind).entries, id, &Entry::id);
  return found == of(kind).entries.end() ? nullptr : &*found;
}

const PendingRecord* PendingRecords::find(OperationKind kind, Id id) const {
  const auto found = std::ranges::find(of(kind).entries, id, &Entry::id);
  return found == of(kind).entries.end() ? nullptr : &found->record;
}

void PendingRecords::load() {
  if (isBusy_ || std::ranges::all_of(kinds_, &OfKind::isRead)) return;
  {
    const Raised busy(isBusy_);
    for (const OperationKind kind : routerOrder) {
      if (of(kind).isRead) continue;
      readKind(kind);
      // Operations may have begun, or ended, before the text could be read.
      if (of(kind).isRead && !of(kind).isInStore()) of(kind).isChanged = true;
    }
  }
  writeChanges();
}

void PendingRecords::readKind(OperationKind kind) {
  OfKind& all = of(kind);
  const auto text = store_.read(nameOf(kind));
  all.isRead = text.has_value();
  if (!text) return warnOfReading(kind, text.error());
  if (!*text) {
    std::vector<PendingRecord> none;
    all.holdsEnded = false;
    return takeOwn(kind, none);
  }
  const auto hash = std::hash<std::string>()(**text);
  if (hash == all.known || hash == all.tried) return;
  auto records = readPendingRecords(kind, **text);
  if (!records) {
    const auto moved = store_.setAside(nameOf(kind));
    all.isRead = moved.has_value();
    return warnOfText(kind, records.error(), moved);
  }
  all.known = hash;
  takeOwn(kind, *records);
  addFound(kind, *std::move(records));
}

void PendingRecords::takeOwn(OperationKind kind, std::vector<PendingRecord>& found) {
  for (Entry& own : of(kind).entries) {
    const auto same = [&](const PendingRecord& one) {
      return one.request == own.record.request && one.transport == own.record.transport &&
             internetDateText(one.startedAt) == internetDateText(own.record.startedAt) &&
             (!one.callback || one.callback == own.record.callback);
    };
    const auto it = own.isStored ? std::ranges::find_if(found, same) : found.end();
    own.isStored = it != found.end();
    if (!own.isStored) continue;
    if (it->callback != own.record.callback) own.storedState = 0;
    found.erase(it);
  }
}

void PendingRecords::addFound(OperationKind kind, std::vector<PendingRecord> records) {
  Entries found;
  for (PendingRecord& record : records) {
    Entry one{.id = newId(), .record = std::move(record), .isInterrupted = true};
    one.callbackCame = one.record.callback.has_value();
    one.wasUnsealed = one.callbackCame && one.record.callback->isUnsealed;
    one.isStored = true;
    one.storedState = one.state;
    found.push_back(std::move(one));
  }
  // Host code may have started one meanwhile.
  Entries& entries = of(kind).entries;
  entries.insert(entries.begin(), std::make_move_iterator(found.begin()),
                 std::make_move_iterator(found.end()));
  while (dropOne(kind)) warnOfDropping(kind);
}

void PendingRecords::warnOfReading(OperationKind kind, const std::string& reason) {
  const bool isTold =
      std::ranges::any_of(kinds_, [&](const OfKind& one) { return one.toldReason == reason; });
  of(kind).toldReason = reason;
  if (!isTold) tellOfReading(kind, reason);
}

void PendingRecords::warnOfText(OperationKind kind, const std::string& reason,
                                const std::expected<void, std::string>& moved) {
  if (moved) return tellOfReading(kind, reason + " It was set aside.");
  const std::string all = reason + " " + moved.error();
  if (std::exchange(of(kind).toldReason, all) != all) tellOfReading(kind, all);
}

void PendingRecords::tellOfReading(OperationKind kind, const std::string& reason) {
  warn_("What an earlier process kept of its " + operationWords(kind) + " can't be read. " + reason);
}

bool PendingRecords::dropOne(OperationKind kind) {
  Entries& entries = of(kind).entries;
  if (entries.size() <= maximumPendingRecords) return false;
  auto dropped = std::ranges::find_if(
      entries, [](const Entry& one) { return one.isInterrupted && !one.record.callback; });
  if (dropped == entries.end()) dropped = std::ranges::find(entries, true, &Entry::isInterrupted);
  if (dropped == entries.end()) return false;
  if (auto& callback = dropped->record.callback) wipe(callback->url);
  entries.erase(dropped);
  return true;
}

void PendingRecords::add(OperationKind kind, Id id, PendingRecord record) {
  of(kind).entries.push_back({.id = id, .record = std::move(record), .isInterrupted = false});
  const bool isDropped = dropOne(kind);
  save(kind);
  if (isDropped) warnOfDropping(kind);
}

void PendingRecords::warnOfDropping(OperationKind kind) {
  warn_("Dropped the record of an interrupted " + operationWords(kind) +
        ": too many were neither resumed nor forgotten.");
}

bool PendingRecords::setCallback(OperationKind kind, Id id, KeptCallback callback) {
  Entry* const found = entry(kind, id);
  if (found == nullptr) return false;
  const auto isInStore = [&] {
    const Entry* const now = entry(kind, id);
    return now != nullptr && now->isInStore();
  };
  if (!callback.isUnsealed) found->handoffId = resultHandoffId(callback.url);
  if (found->wasUnsealed && !callback.isUnsealed) return isInStore();
  found->callbackCame = true;
  found->wasUnsealed = callback.isUnsealed;
  auto& kept = found->record.callback;
  const auto isInText = [&](const URL& url) { return obstacleTo(kind, url) != WritingObstacle::cardData; };
  const bool isChanged = isInText(callback.url) || (kept && isInText(kept->url));
  if (kept) wipe(kept->url);
  kept = std::move(callback);
  if (isChanged) {
    ++found->state;
    save(kind);
  }
  return isInStore();
}

void PendingRecords::remove(OperationKind kind, Id id) {
  Entry* const found = entry(kind, id);
  if (found == nullptr) return;
  OfKind& all = of(kind);
  if (auto& callback = found->record.callback) wipe(callback->url);
  all.holdsEnded = all.holdsEnded || found->isStored;
  all.entries.erase(all.entries.begin() + (found - all.entries.data()));
  save(kind);
}

void PendingRecords::setWaiting(OperationKind kind, Id id, bool isWaiting) {
  if (Entry* const found = entry(kind, id)) found->isWaiting = isWaiting;
}

void PendingRecords::appendWaiting(OperationKind kind, std::vector<PendingOperation>& operations) const {
  for (const Entry& one : of(kind).entries) {
    const PendingRecord& record = one.record;
    if (one.isWaiting) operations.push_back({kind, record.requestId, record.startedAt, record.transport});
  }
}

void PendingRecords::leave(OperationKind kind, Id id) {
  Entry* const found = entry(kind, id);
  if (found == nullptr) return;
  if (!found->callbackCame) return remove(kind, id);
  found->isInterrupted = true;
  found->isDelivering = false;
  found->isWaiting = false;
}

std::vector<InterruptedOperation> PendingRecords::interrupted() const {
  std::vector<InterruptedOperation> operations;
  for (const OperationKind kind : routerOrder) {
    for (const Entry& one : of(kind).entries) {
      if (!one.isInterrupted) continue;
      const PendingRecord& record = one.record;
      operations.push_back(
          {kind, record.requestId, record.amount, record.startedAt, record.callback.has_value()});
    }
  }
  return operations;
}

PendingRecords::Id PendingRecords::oldestInterrupted(OperationKind kind) const {
  const auto found = std::ranges::find(of(kind).entries, true, &Entry::isInterrupted);
  return found == of(kind).entries.end() ? 0 : found->id;
}

void PendingRecords::resume(OperationKind kind, Id id) {
  Entry* const found = entry(kind, id);
  if (found == nullptr) return;
  found->isInterrupted = false;
  found->isDelivering = found->record.callback.has_value();
}

bool PendingRecords::hasTakers() const {
  return std::ranges::any_of(kinds_, [](const OfKind& all) {
    return std::ranges::any_of(all.entries,
                               [](const Entry& one) { return one.isInterrupted || one.isDelivering; });
  });
}

std::optional<PendingRecords::Taker> PendingRecords::takerOf(const URL& callback,
                                                             const std::optional<std::string>& requestId,
                                                             bool unnamed) const {
  const auto first = [&](bool hasCallback, auto isIt) -> std::optional<Taker> {
    for (const OperationKind kind : routerOrder) {
      for (const Entry& one : of(kind).entries) {
        if (one.record.callback.has_value() == hasCallback && one.takes(callback) && isIt(one.record))
          return Taker{kind, one.id, hasCallback};
      }
    }
    return std::nullopt;
  };
  if (requestId || unnamed) {
    const auto cameAsIt = [&](const PendingRecord& one) { return one.callback->url == callback; };
    if (auto same = first(true, cameAsIt)) return same;
  }
  if (requestId) {
    const auto isNamed = [&](const PendingRecord& one) { return one.requestId == requestId; };
    if (auto named = first(false, isNamed)) return named;
    if (auto named = first(true, isNamed)) return named;
  }
  if (!unnamed) return std::nullopt;
  return first(false, [&](const PendingRecord& one) { return !requestId || !one.requestId; });
}

std::vector<PendingRecords::Taker> PendingRecords::takersAt(OperationKind kind, const URL& callback) const {
  std::vector<Taker> takers;
  for (const Entry& one : of(kind).entries) {
    if (one.takes(callback)) takers.push_back({kind, one.id, one.record.callback.has_value()});
  }
  return takers;
}

PendingRecords::Id PendingRecords::unsealedBy(const URL& callback) const {
  const auto handoffId = resultHandoffId(callback);
  const Entries& payments = of(OperationKind::payment).entries;
  const auto found = std::ranges::find_if(payments, [&](const Entry& one) {
    return handoffId && one.handoffId == handoffId && one.wasUnsealed && one.takes(callback);
  });
  return found == payments.end() ? 0 : found->id;
}

const PendingRecord* PendingRecords::waitingAt(OperationKind kind, const URL& callback) const {
  const auto found = std::ranges::find_if(
      of(kind).entries, [&](const Entry& one) { return !one.record.callback && one.takes(callback); });
  return found == of(kind).entries.end() ? nullptr : &found->record;
}

void PendingRecords::save(OperationKind kind) {
  of(kind).isChanged = true;
  writeChanges();
}

void PendingRecords::writeChanges() {
  // The call that is running writes them when its store has returned.
  if (isBusy_) return;
  const Raised busy(isBusy_);
  for (auto next = kinds_.begin();
       (next = std::ranges::find(kinds_, true, &OfKind::isChanged)) != kinds_.end();) {
    next->isChanged = false;
    write(static_cast<OperationKind>(next - kinds_.begin()));
  }
}

void PendingRecords::write(OperationKind kind) {
  if (!of(kind).isRead) readKind(kind);
  if (!of(kind).isRead) {
    return warnOfWriting(kind, "What an earlier process kept can't be read, and isn't replaced.");
  }
  auto written = tryToWrite(kind);
  if (!written) {
    // It may be that another process has kept a text since. One that isn't the user's alone is set aside by
    // the first reading.
    readKind(kind);
    if (!of(kind).isRead) readKind(kind);
    if (of(kind).isRead) written = tryToWrite(kind);
  }
  if (!written) warnOfWriting(kind, written.error());
}

std::expected<void, std::string> PendingRecords::tryToWrite(OperationKind kind) {
  OfKind& all = of(kind);
  struct Writing {
    Id id;
    std::uint32_t state;
    RecordInText::Part part;
  };
  std::vector<const PendingRecord*> records;
  std::vector<Writing> writing;
  std::vector<std::string> warnings;
  for (const Entry& one : all.entries) records.push_back(&one.record);
  const PendingText text = writePendingRecords(kind, records);
  using enum RecordInText::Part;
  for (std::size_t i = 0; i < all.entries.size(); ++i) {
    Entry& one = all.entries[i];
    const auto& [part, reason] = text.records[i];
    if (part != nothing) writing.push_back({one.id, one.state, part});
    if (part == whole) one.isToldOf = false;
    if (part != whole && !std::exchange(one.isToldOf, true)) {
      warnings.push_back(std::string(part == nothing ? "The " : "The result of the ") +
                         shownName(kind, one.record) + " isn't kept for the next start of this host. " +
                         reason);
    }
  }
  if (!writing.empty()) all.tried = std::hash<std::string>()(text.text);
  const auto done = writing.empty() ? store_.remove(nameOf(kind)) : store_.keep(nameOf(kind), text.text);
  if (done) {
    all.known = writing.empty() ? std::nullopt : all.tried;
    all.holdsEnded = false;
    for (Entry& one : all.entries) one.isStored = false;
    for (const auto& [id, state, part] : writing) {
      Entry* const one = entry(kind, id);
      // Host code may have ended it meanwhile.
      all.holdsEnded = all.holdsEnded || one == nullptr;
      if (one == nullptr) continue;
      one->isStored = true;
      if (part == whole) one->storedState = state;
    }
  }
  for (const std::string& warning : warnings) warn_(warning);
  return done;
}

void PendingRecords::warnOfWriting(OperationKind kind, const std::string& reason) {
  const OfKind& all = of(kind);
  const bool isAnyOlder =
      std::ranges::any_of(all.entries, [](const Entry& one) { return !one.isToldOf && !one.isInStore(); });
  // Read before host code runs.
  const bool holdsEnded = all.holdsEnded;
  const std::string words = operationWords(kind);
  if (isAnyOlder) warn_("The " + words + " isn't kept for the next start of this host. " + reason);
  if (holdsEnded) warn_("The pending store still holds a " + words + " that is over. " + reason);
}

}  // namespace tilvanego::detail
