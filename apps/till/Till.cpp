#include "Till.h"

#include <optional>
#include <string_view>
#include <utility>

#include <tilvanego/facade/OperationFunctions.h>
#include <tilvanego/values/RawText.h>

#include "apps/window/AmountText.h"

namespace tilvanego::till {

namespace {

std::string shown(const Decimal& amount, const std::string& currency) {
  return program::amountWithCurrency(amount, currency);
}
// A text is as the till has made it.
std::string shown(const std::string& amount, const std::string& currency) {
  return currency.empty() ? amount : amount + " " + currency;
}
std::string shown(const std::optional<Decimal>& amount, const std::string& currency) {
  return amount ? shown(*amount, currency) : std::string();
}

// The amount of a request for a reader; empty without one. `currency` is for a request that has none.
std::string askedBy(const auto& request, std::string currency = {}) {
  if constexpr (requires { request.amount(); }) {
    if constexpr (requires { request.currency(); }) currency = request.currency();
    return shown(request.amount(), currency);
  } else {
    return {};
  }
}

}  // namespace

struct Till::Life {
  Till* till;
};

Till::Till(TilvaneGo& sdk, std::string scheme, std::function<std::string()> newId,
           std::function<void()> changed)
    : sdk_(sdk),
      scheme_(std::move(scheme)),
      newId_(std::move(newId)),
      changed_(std::move(changed)),
      life_(std::make_shared<Life>(this)) {
  sdk_.setLogger([weak = std::weak_ptr(life_)](TilvaneLogLevel level, std::string_view message) {
    if (const auto life = weak.lock()) {
      life->till->note(std::string(rawText(level)) + ": " + std::string(message));
    }
  });
}

Till::~Till() { sdk_.setLogger({}); }

template <OperationKind kind>
auto Till::completion() {
  return [weak = std::weak_ptr(life_)](const typename OperationRecords<kind>::Result& result) {
    const auto life = weak.lock();
    if (life == nullptr) return;
    Till& till = *life->till;
    till.keep(kind, makeReceipt(operationName(kind), till.asked_[kind], result));
  };
}

void Till::keep(OperationKind kind, Receipt receipt) {
  asked_.erase(kind);
  fault_.clear();
  if (receipts_.size() == mostReceipts) receipts_.pop_front();
  receipts_.push_back(std::move(receipt));
  ++receiptsEver_;
  changed_();
  resumeInterrupted();
}

template <OperationKind kind>
void Till::startKind(const Entry& entry) {
  if ((sdk_.*operationFunctions<kind>.isInProgress)()) {
    fault_ = operationName(kind) + " is pending already: wait for its result, or cancel it.";
    return;
  }
  const auto callback = URL::parse(scheme_ + "://done/" + std::string(rawText(kind)));
  auto request = makeRequest<kind>(entry, newId_(), *callback);
  if (!request) {
    fault_ = request.error();
    return;
  }
  fault_.clear();
  asked_[kind] = askedBy(*request, entry.currency);
  if constexpr (kind == OperationKind::payment) {
    sdk_.startPayment(*std::move(request), entry.transport, completion<kind>());
  } else {
    (sdk_.*operationFunctions<kind>.start)(*std::move(request), completion<kind>());
  }
}

void Till::start(const Entry& entry) {
  forEachOperation([&]<OperationKind kind> {
    if (kind == entry.kind) startKind<kind>(entry);
  });
  changed_();
}

template <OperationKind kind>
void Till::resumeKind() {
  if ((sdk_.*operationFunctions<kind>.isInProgress)()) return;
  for (const InterruptedOperation& left : sdk_.interruptedOperations()) {
    if (left.kind != kind) continue;
    note("Resuming " + operationName(kind) + " " + left.requestId.value_or("without an id"));
    if (const auto request = (sdk_.*operationFunctions<kind>.resume)(completion<kind>())) {
      asked_[kind] = askedBy(*request);
    }
    return;
  }
}

void Till::resumeInterrupted() {
  forEachOperation([&]<OperationKind kind> { resumeKind<kind>(); });
  changed_();
}

void Till::cancel(OperationKind kind) {
  forEachOperation([&]<OperationKind one> {
    if (one == kind) (sdk_.*operationFunctions<one>.cancel)();
  });
  asked_.erase(kind);
  fault_.clear();
  changed_();
}

void Till::receive(const URL& url) {
  const bool handled = sdk_.handleCallback(url);
  fault_ = handled ? "" : "A URL came that no pending operation waits for; the log says more.";
  changed_();
}

void Till::note(std::string line) {
  if (log_.size() == mostLines) log_.pop_front();
  log_.push_back(std::move(line));
  ++written_;
  changed_();
}

}  // namespace tilvanego::till
