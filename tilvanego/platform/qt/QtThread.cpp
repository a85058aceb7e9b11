#include <tilvanego/platform/qt/QtThread.h>

#include <QCoreApplication>
#include <QThread>
#include <string>

#include <tilvanego/platform/FatalError.h>

namespace tilvanego::detail {

void requireQtMainThread(std::string_view object) {
  const QCoreApplication* const application = QCoreApplication::instance();
  if (application != nullptr && application->thread() == QThread::currentThread()) return;
  wrongUse(std::string(object) + " is made after the QCoreApplication, on the same thread.");
}

}  // namespace tilvanego::detail
