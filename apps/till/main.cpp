// tilvanego-till: a host as a person meets it. A callback starts it a second time; that process hands the
// URL over to the first, or resumes what was pending if there is none.

#include <QApplication>
#include <QCommandLineParser>
#include <QMessageBox>
#include <QUuid>
#include <cstdlib>
#include <iostream>
#include <memory>

#include <tilvanego/Qt.h>
#include <tilvanego/TilvaneGo.h>

#include "TillWindow.h"

using namespace tilvanego;

namespace {

constexpr const char* name = "tilvanego-till";
// Also the scheme of its callbacks.
constexpr const char* scheme = "tilvanego-till";

int fail(const std::string& sentence) {
  std::cerr << name << ": " << sentence << '\n';
  return EXIT_FAILURE;
}

// For who started it on a desktop, and sees no terminal.
int failInWindow(const std::string& sentence) {
  QMessageBox::warning(nullptr, "Till", QString::fromStdString(sentence));
  return fail(sentence);
}

int registerScheme(bool replaces) {
  const auto others = replaces ? SchemeHandler::Others::replace : SchemeHandler::Others::keep;
  const auto done = SchemeHandler::install(scheme, {.name = "Till (example)", .command = {name}}, others);
  return done ? EXIT_SUCCESS : fail(done.error().message);
}

int unregisterScheme() {
  const auto done = SchemeHandler::remove(scheme);
  return done ? EXIT_SUCCESS : fail(done.error().message);
}

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
  // Before anything is shown: a later process only hands its callback over.
  const auto callback = CallbackReceiver::urlIn(count, words);
  std::unique_ptr<CallbackReceiver> callbacks;
  if (callback) {
    auto claimed = CallbackReceiver::claim(name, callback);
    if (!claimed) return fail(claimed.error());
    if (*claimed == nullptr) return EXIT_SUCCESS;
    callbacks = *std::move(claimed);
  }

  const QApplication application(count, words);
  QApplication::setApplicationName(name);
  QCommandLineParser options;
  options.setApplicationDescription("A till to rehearse with, as a window.");
  options.addHelpOption();
  options.addOptions({{"register", "Make this program the user's handler of tilvanego-till: links."},
                      {"replace", "With --register: also if another program handles them."},
                      {"unregister", "Undo what --register did."},
                      {"store", "Use the pasteboard store of tilvanego in place of the clipboard."}});
  options.addPositionalArgument("URL", "A callback.", "[URL]");
  options.process(application);
  if (options.isSet("register")) return registerScheme(options.isSet("replace"));
  if (options.isSet("unregister")) return unregisterScheme();

  if (!callbacks) {
    auto claimed = CallbackReceiver::claim(name, std::nullopt);
    if (!claimed) return failInWindow(claimed.error());
    if (*claimed == nullptr) return failInWindow("It runs already.");
    callbacks = *std::move(claimed);
  }
  return run(*callbacks, options);
}
