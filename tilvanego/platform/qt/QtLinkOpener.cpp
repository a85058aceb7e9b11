#include <tilvanego/platform/qt/QtLinkOpener.h>

#include <QByteArray>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QUrl>
#include <string>
#include <utility>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

bool open(const std::string& link) {
  if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) == nullptr) return false;
  // The bytes stay ours: no copy of them is made here.
  const auto bytes = QByteArray::fromRawData(link.data(), static_cast<qsizetype>(link.size()));
  const QUrl url = QUrl::fromEncoded(bytes, QUrl::StrictMode);
  return url.isValid() && QDesktopServices::openUrl(url);
}

}  // namespace

QtLinkOpener::QtLinkOpener(const MainQueue& mainQueue) : mainQueue_(mainQueue) {}

void QtLinkOpener::openURL(const URL& url, std::function<void(bool opened)> completionHandler) {
  // A function of the host's may open the link and end this object.
  const auto mainQueue = mainQueue_;
  const auto requests = requests_;
  const auto request = requests->add(url, std::move(completionHandler));
  const bool opened = open(url.absoluteString());
  // In a later block, as the port demands.
  support::postOrEnd(mainQueue, [waiting = std::weak_ptr(requests), request, opened] {
    if (const auto alive = waiting.lock()) alive->report(request, opened);
  });
}

}  // namespace tilvanego
