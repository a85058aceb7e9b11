#include <tilvanego/facade/Facade.h>

#include <algorithm>
#include <array>

#include <tilvanego/facade/Ways.h>
#include <tilvanego/platform/HostCode.h>

namespace tilvanego::detail {

void Facade::end() {
  // All of it at once, for what ends here may call back.
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

consteval auto Facade::ranks() {
  std::array<Rank, std::tuple_size_v<Slots>> ranks{};
  auto next = ranks.begin();
  forEachOperation([&]<OperationKind kind>() { *next++ = &Facade::offer<kind>; });
  // The payment is the first of the list, and the last that a callback is offered to.
  std::ranges::rotate(ranks, ranks.begin() + 1);
  return ranks;
}

bool Facade::handleCallback(URL url) {
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
  // Read just before each message and held during the call, so that a logger may replace itself.
  if (const auto current = logger_) runListener("The logger", [&] { (*current)(level, message); });
}

void Facade::openPaymentApp(const URL& url, OpenFailure failed) {
  const auto told = std::make_shared<bool>(false);
  const auto tell = [told, weak = weak_from_this(), failed](bool opened) {
    const auto self = weak.lock();
    if (!self) return;
    self->requireMainThread("The completion handler of openURL");
    if (std::exchange(*told, true)) return;
    // The outcome is acted on in a later turn, after the start has returned, even if the handler ran inside
    // of it.
    postOrEnd(self->mainQueue(), [weak, opened, failed] {
      const auto facade = weak.lock();
      if (facade && !opened) ((*facade).*failed)();
    });
  };
  try {
    platform_.application->openURL(url, tell);
  } catch (...) {
    tell(false);
  }
}

}  // namespace tilvanego::detail
