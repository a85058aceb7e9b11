#include "WindowProgram.h"

#include <QApplication>
#include <QFileInfo>
#include <QMessageBox>
#include <QStandardPaths>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <span>
#include <string_view>

#include <tilvanego/platform/desktop/CallbackReceiver.h>
#include <tilvanego/platform/desktop/SchemeHandler.h>

namespace tilvanego::program {
namespace {

constexpr std::array<std::string_view, 4> withoutDisplay{"--register", "--unregister", "--help", "-h"};

int fail(const WindowProgram& program, const std::string& sentence) {
  std::cerr << program.name << ": " << sentence << '\n';
  return EXIT_FAILURE;
}

// For who started it on a desktop, and sees no terminal.
int failInWindow(const WindowProgram& program, const std::string& sentence) {
  QMessageBox::warning(nullptr, program.title, QString::fromStdString(sentence));
  return fail(program, sentence);
}

// What the desktop is to start: the name if that leads to this program, else its path.
std::string commandOf(const WindowProgram& program) {
  const QString path = QCoreApplication::applicationFilePath();
  const QFileInfo found(QStandardPaths::findExecutable(program.name));
  return found.canonicalFilePath() == QFileInfo(path).canonicalFilePath() ? program.name : path.toStdString();
}

int registerScheme(const WindowProgram& program, bool replaces) {
  const auto others = replaces ? SchemeHandler::Others::replace : SchemeHandler::Others::keep;
  const auto done = SchemeHandler::install(program.scheme,
                                           {.name = program.title, .command = {commandOf(program)}}, others);
  return done ? EXIT_SUCCESS : fail(program, done.error().message);
}

int unregisterScheme(const WindowProgram& program) {
  const auto done = SchemeHandler::remove(program.scheme);
  return done ? EXIT_SUCCESS : fail(program, done.error().message);
}

void addOptions(QCommandLineParser& options, const WindowProgram& program,
                const QList<QCommandLineOption>& more) {
  options.setApplicationDescription(program.description);
  options.addHelpOption();
  const QString links = QString(program.scheme) + ": links.";
  options.addOption({"register", "Make this program the user's handler of " + links});
  options.addOption({"replace", "With --register: also if another program handles them."});
  options.addOption({"unregister", "Undo what --register did."});
  options.addOptions(more);
  options.addPositionalArgument("URL", "A URL for the program that runs, or for this one.", "[URL]");
}

// Why the command line says nothing that can be done; empty if it does.
std::string misuseOf(const QCommandLineParser& options, bool hasURL) {
  const auto words = options.positionalArguments().size();
  const bool registers = options.isSet("register");
  const bool unregisters = options.isSet("unregister");
  if (registers && unregisters) return "--register and --unregister exclude each other.";
  if (options.isSet("replace") && !registers) return "--replace needs --register.";
  if (words > 1 || (words == 1 && (registers || unregisters))) return "There are too many arguments.";
  if (words == 1 && !hasURL) return "The argument is no URL with a scheme.";
  return {};
}

}  // namespace

int windowMain(const WindowProgram& program, int count, char** words, const QList<QCommandLineOption>& more,
               const std::function<int(CallbackReceiver& urls, const QCommandLineParser& options)>& run) {
  // Before anything is shown.
  const auto url = CallbackReceiver::urlIn(count, words);
  std::unique_ptr<CallbackReceiver> urls;
  if (url) {
    auto claimed = CallbackReceiver::claim(program.name, url);
    if (!claimed) return fail(program, claimed.error());
    if (*claimed == nullptr) return EXIT_SUCCESS;
    urls = *std::move(claimed);
  }

  const std::span arguments(words, static_cast<std::size_t>(count));
  const bool hasWindow =
      std::ranges::find_first_of(arguments, withoutDisplay, [](const char* word, std::string_view name) {
        return word == name;
      }) == arguments.end();
  const std::unique_ptr<QCoreApplication> application =
      hasWindow ? std::make_unique<QApplication>(count, words)
                : std::make_unique<QCoreApplication>(count, words);
  QCoreApplication::setApplicationName(program.name);
  QCommandLineParser options;
  addOptions(options, program, more);
  options.process(*application);
  if (const std::string misuse = misuseOf(options, url.has_value()); !misuse.empty())
    return fail(program, misuse + " Try --help.");
  if (options.isSet("register")) return registerScheme(program, options.isSet("replace"));
  if (options.isSet("unregister")) return unregisterScheme(program);

  if (!urls) {
    auto claimed = CallbackReceiver::claim(program.name, std::nullopt);
    if (!claimed) return failInWindow(program, claimed.error());
    if (*claimed == nullptr) return failInWindow(program, "It runs already.");
    urls = *std::move(claimed);
  }
  return run(*urls, options);
}

}  // namespace tilvanego::program
