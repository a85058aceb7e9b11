#include <tilvanego/platform/qt/QtTimer.h>

#include <QObject>
#include <QTimer>
#include <algorithm>
#include <utility>

#include <tilvanego/platform/qt/QtThread.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

// Qt counts milliseconds in an int: 24 days.
constexpr std::chrono::milliseconds longest = std::chrono::days(20);

}  // namespace

class QtTimer::Context final : public QObject {};

QtTimer::QtTimer() {
  detail::requireQtMainThread("a QtTimer");
  context_ = std::make_unique<Context>();
}

QtTimer::~QtTimer() = default;

void QtTimer::after(std::chrono::milliseconds delay, std::function<void()> block) {
  const auto now = std::clamp(delay, std::chrono::milliseconds::zero(), longest);
  QTimer::singleShot(now, context_.get(), [this, rest = delay - now, block = std::move(block)]() mutable {
    if (rest > std::chrono::milliseconds::zero()) {
      after(rest, std::move(block));
    } else {
      block();
    }
  });
}

}  // namespace tilvanego
