// tilvanego-terminal: the sandbox as a person meets it. The desktop starts it with a link; a second process
// hands its link over to the first.

#include <QApplication>
#include <memory>

#include <tilvanego/Qt.h>
#include <tilvanego/platform/desktop/CallbackReceiver.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>

#include "TerminalWindow.h"
#include "apps/window/WindowProgram.h"

using namespace tilvanego;

namespace {

int run(CallbackReceiver& links, const QCommandLineParser& options) {
  QtMainQueue queue;
  const auto clock = std::make_shared<const SystemClock>();
  std::unique_ptr<Pasteboard> pasteboard;
  if (options.isSet("store")) {
    pasteboard = std::make_unique<PasteboardStore>(clock);
  } else {
    pasteboard = std::make_unique<QtClipboard>(clock);
  }
  SpawnedOpener opener(queue);
  QtTimer timer;
  terminal::TerminalWindow* window = nullptr;
  terminal::Terminal model(opener, timer, {.pasteboard = pasteboard.get()}, [&window] {
    if (window != nullptr) window->refresh();
  });
  terminal::TerminalWindow shown(model);
  window = &shown;
  if (options.isSet("script")) shown.loadScript(options.value("script"));
  links.receive(queue, [&](const URL& link) {
    shown.show();
    shown.raise();
    shown.activateWindow();
    model.receive(link);
  });
  shown.show();
  const int status = QApplication::exec();
  window = nullptr;
  return status;
}

}  // namespace

int main(int count, char** words) {
  return program::windowMain({.name = "tilvanego-terminal",
                              .title = "Payment terminal (rehearsal)",
                              .scheme = "tilvanego",
                              .description = "A payment application to rehearse with, as a window."},
                             count, words,
                             {{"script", "Let a rehearsal's script decide.", "FILE"},
                              {"store", "Use the pasteboard store of tilvanego in place of the clipboard."}},
                             run);
}
