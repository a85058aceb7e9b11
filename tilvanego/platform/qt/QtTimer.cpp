#include <tilvanego/platform/qt/QtTimer.h>

#include <QObject>
#include <QTimer>
#include <algorithm>
#include <utility>

#include <tilvanego/platform/qt/QtThread.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using std::chrono::milliseconds;

// Starts the timer for as much of `rest` as it can count (Qt counts milliseconds in an int, 24 days), and
// returns what is left.
milliseconds startFor(QTimer& timer, milliseconds rest) {
  constexpr milliseconds longest = std::chrono::days(20);
  const auto now = std::clamp(rest, milliseconds::zero(), longest);
  timer.start(now);
  return rest - now;
}

}  // namespace

/// The parent of the timers that run, which end with it.
class QtTimer::Context final : public QObject {};

QtTimer::QtTimer() {
  detail::requireQtMainThread("a QtTimer");
  context_ = std::make_unique<Context>();
}

QtTimer::~QtTimer() = default;

void QtTimer::after(milliseconds delay, std::function<void()> block) {
  auto* const timer = new QTimer(context_.get());
  timer->setSingleShot(true);
  auto rest = startFor(*timer, delay);
  QObject::connect(timer, &QTimer::timeout, [timer, rest, block = std::move(block)]() mutable {
    if (rest > milliseconds::zero()) {
      rest = startFor(*timer, rest);
      return;
    }
    timer->deleteLater();
    block();
  });
}

}  // namespace tilvanego
