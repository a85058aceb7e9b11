#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QList>
#include <functional>

namespace tilvanego {
class CallbackReceiver;
}

namespace tilvanego::program {

/// A program with a window that the desktop starts with a URL.
struct WindowProgram {
  /// Of the file, and by which its processes find each other.
  const char* name;
  /// For the person.
  const char* title;
  /// Of the URLs that `--register` makes it the handler of.
  const char* scheme;
  const char* description;
};

/// The `main` of such a program. The first process of the user calls `run` with the receiver of URLs and the
/// options, in a `QApplication`; a later one hands its URL over and ends. `--register`, `--unregister` and
/// `--help` need no display.
[[nodiscard]] int windowMain(
    const WindowProgram& program, int count, char** words, const QList<QCommandLineOption>& more,
    const std::function<int(CallbackReceiver& urls, const QCommandLineParser& options)>& run);

}  // namespace tilvanego::program
