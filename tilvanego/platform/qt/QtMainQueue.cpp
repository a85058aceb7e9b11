#include <tilvanego/platform/qt/QtMainQueue.h>

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>
#include <QThread>
#include <utility>

#include <tilvanego/platform/HostCode.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

// Qt copies a functor for the event; the block is moved into it once.
void runBlock(const std::function<void()>& block) noexcept try { block(); } catch (...) {
  support::endForException("A block of the main queue", "; no exception may pass through Qt's event loop.");
}

}  // namespace

QtMainQueue::QtMainQueue() {
  const QCoreApplication* const application = QCoreApplication::instance();
  if (application == nullptr || application->thread() != QThread::currentThread()) {
    qFatal("TilvaneGo: make the QtMainQueue after the QGuiApplication, on its thread.");
  }
  receiver_ = std::make_unique<QObject>();
}

QtMainQueue::~QtMainQueue() { end(); }

void QtMainQueue::post(std::function<void()> block) {
  QMetaObject::invokeMethod(
      receiver_.get(), [block = std::move(block)] { runBlock(block); }, Qt::QueuedConnection);
}

bool QtMainQueue::isCurrent() const { return receiver_->thread() == QThread::currentThread(); }

}  // namespace tilvanego
