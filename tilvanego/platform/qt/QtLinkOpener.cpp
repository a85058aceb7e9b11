#include <tilvanego/platform/qt/QtLinkOpener.h>

#include <QByteArray>
#include <QDesktopServices>
#include <QUrl>
#include <string>
#include <utility>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

QtLinkOpener::QtLinkOpener(const MainQueue& mainQueue) : mainQueue_(mainQueue) {}

void QtLinkOpener::openURL(const URL& url, std::function<void(bool opened)> completionHandler) {
  const auto request = requests_->add(url, std::move(completionHandler));
  const std::string text = url.absoluteString();
  const QUrl link =
      QUrl::fromEncoded(QByteArray(text.data(), static_cast<qsizetype>(text.size())), QUrl::StrictMode);
  const bool opened = link.isValid() && QDesktopServices::openUrl(link);
  // In a later turn, as the port demands.
  support::postOrEnd(mainQueue_, [requests = std::weak_ptr(requests_), request, opened] {
    if (const auto waiting = requests.lock()) waiting->report(request, opened);
  });
}

}  // namespace tilvanego
