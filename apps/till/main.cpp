// tilvanego-till: a host as a person meets it. A callback starts it a second time; that process hands the
// URL over to the first, or resumes what was pending if there is none.

#include <QApplication>
#include <QUuid>
#include <memory>

#include <tilvanego/Qt.h>
#include <tilvanego/TilvaneGo.h>

#include "TillWindow.h"
#include "apps/window/WindowProgram.h"

using namespace tilvanego;

namespace {

constexpr const char* name = "tilvanego-till";
// Also the scheme of its callbacks.
constexpr const char* scheme = "tilvanego-till";

// The library's debug lines go to the window.
class DebugLines final : public DebugOutput {
 public:
  explicit DebugLines(std::function<void(std::string_view)> write) : write_(std::move(write)) {}
  void writeLine(std::string_view text) override { write_(text); }

 private:
  std::function<void(std::string_view)> write_;
};

int run(CallbackReceiver& callbacks, const QCommandLineParser& options) {
  QtMainQueue queue;
  till::Till* model = nullptr;
  till::TillWindow* window = nullptr;
  Platform platform = qtPlatform(queue);
  // It waits for xdg-open, and so says if nothing handles a link.
  platform.application = std::make_unique<SpawnedOpener>(queue);
  if (options.isSet("store")) platform.pasteboard = std::make_unique<PasteboardStore>(platform.clock);
  platform.pendingStore = FilePendingStore::ofHost(name);
  platform.debugOutput = std::make_unique<DebugLines>([&model](std::string_view text) {
    if (model != nullptr) model->note(std::string(text));
  });
  TilvaneGo::usePlatform(std::move(platform));

  till::Till till(
      TilvaneGo::shared(), scheme,
      [] { return QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString(); },
      [&window] {
        if (window != nullptr) window->refresh();
      });
  model = &till;
  till::TillWindow shown(till);
  window = &shown;
  till.resumeInterrupted();
  callbacks.receive(queue, [&](const URL& url) {
    // On Wayland only a window with the focus may read the clipboard.
    shown.raise();
    shown.activateWindow();
    till.receive(url);
  });
  shown.show();
  const int status = QApplication::exec();
  window = nullptr;
  model = nullptr;
  return status;
}

}  // namespace

int main(int count, char** words) {
  return program::windowMain(
      {.name = name,
       .title = "Till (example)",
       .scheme = scheme,
       .description = "A till to rehearse with, as a window."},
      count, words, {{"store", "Use the pasteboard store of tilvanego in place of the clipboard."}}, run);
}
