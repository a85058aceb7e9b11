#include <tilvanego/facade/Facade.h>

#include <array>

#include <tilvanego/facade/FacadeRecords.h>
#include <tilvanego/facade/RouterOrder.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/HostCode.h>

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
  const auto drop = [](const auto& pending) {
    if (pending) pending->completion = nullptr;
  };
  std::apply([&](const auto&... pending) { (drop(pending), ...); }, slots);
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

consteval auto Facade::ranks() {
  std::array<Rank, std::tuple_size_v<Slots>> ranks{};
  auto next = ranks.begin();
  forEachInRouterOrder([&]<OperationKind kind>() { *next++ = &Facade::offer<kind>; });
  return ranks;
}

bool Facade::handleCallback(URL url) {
  if (keptForInterrupted(url)) return true;
  for (const Rank rank : ranks()) {
    const Routed routed = (this->*rank)(url);
    if (routed != Routed::goOn) return routed == Routed::finished;
  }
  std::string names;
  forEachOperation([&]<OperationKind kind>() {
    constexpr bool isLast = kind == operationKinds.back();
    names.append(names.empty() ? "" : isLast ? ", or " : ", ").append(operationWords(kind));
  });
  log(TilvaneLogLevel::warning, "Received callback with no active " + names + ".");
  return false;
}

void Facade::log(TilvaneLogLevel level, std::string_view message) {
  // Copied for each message, so that a logger may replace itself while it runs.
  if (const auto current = logger_) runListener("The logger", [&] { (*current)(level, message); });
}

void Facade::openPaymentApp(const URL& url, OpenFailure failed) {
  const auto reported = std::make_shared<bool>(false);
  const auto report = [reported, weak = weak_from_this(), failed](bool opened) {
    const auto self = weak.lock();
    if (!self) return;
    self->requireMainThread("The completion handler of openURL");
    if (std::exchange(*reported, true)) return;
    // A later block of the main queue acts on the outcome: the start has then returned, even if it called
    // this handler.
    postOrEnd(self->mainQueue(), [weak, opened, failed] {
      const auto facade = weak.lock();
      if (facade && !opened) ((*facade).*failed)();
    });
  };
  try {
    platform_.application->openURL(url, report);
  } catch (...) {
    report(false);
  }
}

}  // namespace tilvanego::detail
