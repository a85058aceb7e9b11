#pragma once

#include <QEventLoop>
#include <QGuiApplication>
#include <QProcess>
#include <array>
#include <csignal>
#include <memory>
#include <stdexcept>
#include <string>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/TemporaryDirectory.h"

namespace tilvanego::test {

/// An X server of the test's own, with a screen that nobody sees, and the application that is connected to
/// it.
class Desktop {
 public:
  Desktop() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    server_ = fork();
    if (server_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      const std::string number = std::to_string(ends[1]);
      execl(XVFB, XVFB, "-displayfd", number.c_str(), "-nolisten", "tcp", nullptr);
      _exit(127);
    }
    close(ends[1]);
    // The server writes its number once programs can connect.
    std::string display = ":";
    for (char digit = 0; read(ends[0], &digit, 1) == 1 && digit != '\n';) display += digit;
    close(ends[0]);
    if (display == ":") throw std::runtime_error("Xvfb didn't start");
    qputenv("DISPLAY", display.c_str());
    qputenv("XDG_RUNTIME_DIR", directory_.path().c_str());
    qputenv("QT_QPA_PLATFORM", "xcb");
    application_ = std::make_unique<QGuiApplication>(count_, words_.data());
  }
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;
  ~Desktop() {
    application_.reset();
    kill(server_, SIGKILL);
    waitpid(server_, nullptr, 0);
  }

  /// What another program of this desktop finds on the clipboard: "HINT|TEXT".
  static std::string readByAnother() {
    QProcess other;
    QEventLoop loop;
    QObject::connect(&other, &QProcess::finished, &loop, &QEventLoop::quit);
    other.start(OTHER_PROGRAM, {"read"});
    loop.exec();
    return other.readAll().toStdString();
  }

 private:
  const TemporaryDirectory directory_;
  pid_t server_ = 0;
  int count_ = 1;
  std::array<char, 5> name_{"test"};
  std::array<char*, 2> words_{name_.data(), nullptr};
  std::unique_ptr<QGuiApplication> application_;
};

/// Another program of the desktop that has put a text on the clipboard, until it ends.
class OtherOwner {
 public:
  explicit OtherOwner(const char* text) {
    QEventLoop loop;
    QObject::connect(&program_, &QProcess::readyRead, &loop, &QEventLoop::quit);
    program_.start(OTHER_PROGRAM, {"own", QString::fromUtf8(text)});
    loop.exec();
  }
  ~OtherOwner() {
    program_.closeWriteChannel();
    program_.waitForFinished(-1);
  }

 private:
  QProcess program_;
};

}  // namespace tilvanego::test
