#include <tilvanego/facade/Facade.h>

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
