#include <tilvanego/platform/qt/QtMainQueue.h>

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <utility>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/qt/QtThread.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

QEvent::Type blockType() {
  static const int type = QEvent::registerEventType();
  return static_cast<QEvent::Type>(type);
}

// A block on its way to the main thread.
class BlockEvent final : public QEvent {
 public:
  explicit BlockEvent(std::function<void()> block) : QEvent(blockType()), block_(std::move(block)) {}

  // What the block captured ends before this returns.
  void run() noexcept try { std::exchange(block_, nullptr)(); } catch (...) {
    support::endForException("A block of the main queue", "; no exception may pass through Qt's event loop.");
  }

 private:
  std::function<void()> block_;
};

}  // namespace

class QtMainQueue::Receiver final : public QObject {
 public:
  bool event(QEvent* event) override {
    if (event->type() != blockType()) return QObject::event(event);
    static_cast<BlockEvent*>(event)->run();
    return true;
  }
};

QtMainQueue::QtMainQueue() {
  detail::requireQtMainThread("a QtMainQueue");
  receiver_ = std::make_unique<Receiver>();
}

QtMainQueue::~QtMainQueue() { end(); }

void QtMainQueue::post(std::function<void()> block) {
  // Qt owns the event, and keeps those of one receiver in order.
  QCoreApplication::postEvent(receiver_.get(), new BlockEvent(std::move(block)));
}

bool QtMainQueue::isCurrent() const { return std::this_thread::get_id() == mainThread_; }

}  // namespace tilvanego
