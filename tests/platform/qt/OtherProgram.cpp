// Another program of the desktop: "read" writes "HINT|TEXT" of the clipboard to standard output, "own TEXT"
// puts the text there and keeps it until its standard input ends.

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QSocketNotifier>
#include <cstdio>

int main(int count, char** words) {
  QGuiApplication application(count, words);
  QClipboard& clipboard = *QGuiApplication::clipboard();
  const QByteArray command = words[1];
  if (command == "read") {
    const QMimeData& data = *clipboard.mimeData();
    const QByteArray shown = data.data("x-kde-passwordManagerHint") + '|' + data.text().toUtf8();
    std::fwrite(shown.data(), 1, static_cast<std::size_t>(shown.size()), stdout);
    return 0;
  }
  clipboard.setText(QString::fromUtf8(words[2]));
  std::puts(clipboard.ownsClipboard() ? "owned" : "refused");
  std::fflush(stdout);
  QSocketNotifier ended(0, QSocketNotifier::Read);
  QObject::connect(&ended, &QSocketNotifier::activated, &application, &QGuiApplication::quit);
  return QGuiApplication::exec();
}
