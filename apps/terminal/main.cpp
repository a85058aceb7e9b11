// tilvanego-terminal: the sandbox as a person meets it. The desktop starts it with a link; a second process
// hands its link over to the first.

#include <QApplication>
#include <QCommandLineParser>
#include <QMessageBox>
#include <cstdlib>
#include <iostream>
#include <memory>

#include <tilvanego/Qt.h>
#include <tilvanego/platform/desktop/CallbackReceiver.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/desktop/SchemeHandler.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>

#include "TerminalWindow.h"

using namespace tilvanego;

namespace {

constexpr const char* name = "tilvanego-terminal";
constexpr const char* scheme = "tilvanego";

int fail(const std::string& sentence) {
  std::cerr << name << ": " << sentence << '\n';
  return EXIT_FAILURE;
}

// For who started it on a desktop, and sees no terminal.
int failInWindow(const std::string& sentence) {
  QMessageBox::warning(nullptr, "Payment terminal", QString::fromStdString(sentence));
  return fail(sentence);
}

int registerScheme(bool replaces) {
  const auto others = replaces ? SchemeHandler::Others::replace : SchemeHandler::Others::keep;
  const auto done =
      SchemeHandler::install(scheme, {.name = "Payment terminal (rehearsal)", .command = {name}}, others);
  return done ? EXIT_SUCCESS : fail(done.error().message);
}

int unregisterScheme() {
  const auto done = SchemeHandler::remove(scheme);
  return done ? EXIT_SUCCESS : fail(done.error().message);
}

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
  // Before anything is shown: a later process only hands its link over.
  const auto link = CallbackReceiver::urlIn(count, words);
  std::unique_ptr<CallbackReceiver> links;
  if (link) {
    auto claimed = CallbackReceiver::claim(name, link);
    if (!claimed) return fail(claimed.error());
    if (*claimed == nullptr) return EXIT_SUCCESS;
    links = *std::move(claimed);
  }

  const QApplication application(count, words);
  QApplication::setApplicationName(name);
  QCommandLineParser options;
  options.setApplicationDescription("A payment application to rehearse with, as a window.");
  options.addHelpOption();
  options.addOptions({{"register", "Make this program the user's handler of tilvanego: links."},
                      {"replace", "With --register: also if another program handles them."},
                      {"unregister", "Undo what --register did."},
                      {"script", "Let a rehearsal's script decide.", "FILE"},
                      {"store", "Use the pasteboard store of tilvanego in place of the clipboard."}});
  options.addPositionalArgument("LINK", "The link that a host opened.", "[LINK]");
  options.process(application);
  if (options.isSet("register")) return registerScheme(options.isSet("replace"));
  if (options.isSet("unregister")) return unregisterScheme();

  if (!links) {
    auto claimed = CallbackReceiver::claim(name, std::nullopt);
    if (!claimed) return failInWindow(claimed.error());
    if (*claimed == nullptr) return failInWindow("It runs already.");
    links = *std::move(claimed);
  }
  return run(*links, options);
}
