#include <tilvanego/platform/qt/QtLinkOpener.h>

#include <QByteArray>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QString>
#include <QUrl>
#include <array>
#include <atomic>
#include <string>
#include <utility>

#include <qlogging.h>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

// While it lives, Qt's messages of this thread show "a link" in place of the link: Qt warns with the whole
// link, and its token, if it can't pass it on. All else goes to the handler of messages that was there. A
// function of the host's that opens a link may open another one.
class HiddenLink {
 public:
  explicit HiddenLink(const QUrl& link)
      : forms_{link.toString(), link.toString(QUrl::FullyEncoded)}, outer_(innermost) {
    const QtMessageHandler before = qInstallMessageHandler(nullptr);
    if (before != &showMessage) shownBy = before;
    innermost = this;
    qInstallMessageHandler(&showMessage);
  }
  HiddenLink(const HiddenLink&) = delete;
  HiddenLink& operator=(const HiddenLink&) = delete;
  ~HiddenLink() {
    innermost = outer_;
    if (outer_ != nullptr) return;
    // The host may have installed another one meanwhile: that stays.
    const QtMessageHandler now = qInstallMessageHandler(shownBy);
    if (now != &showMessage) qInstallMessageHandler(now);
  }

 private:
  static void showMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    QString shown = message;
    for (const HiddenLink* one = innermost; one != nullptr; one = one->outer_) {
      for (const QString& form : one->forms_) shown.replace(form, "a link");
    }
    shownBy.load()(type, context, shown);
  }

  inline static thread_local const HiddenLink* innermost = nullptr;
  // Other threads may still be in `showMessage` when the last link is over.
  inline static std::atomic<QtMessageHandler> shownBy = nullptr;

  // As Qt writes it into a sentence, and into a command.
  std::array<QString, 2> forms_;
  const HiddenLink* outer_;
};

bool open(const std::string& link) {
  if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) == nullptr) return false;
  // The bytes stay ours: no copy of them is made here.
  const auto bytes = QByteArray::fromRawData(link.data(), static_cast<qsizetype>(link.size()));
  const QUrl url = QUrl::fromEncoded(bytes, QUrl::StrictMode);
  if (!url.isValid()) return false;
  const HiddenLink hidden(url);
  return QDesktopServices::openUrl(url);
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
