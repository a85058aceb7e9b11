#pragma once

#include <QMainWindow>
#include <optional>

#include "Terminal.h"

class QCheckBox;
class QLabel;
class QListWidget;
class QPlainTextEdit;

namespace tilvanego::terminal {

class OutcomeButtons;

/// The window of the payment application: what is asked, a button for each outcome, and the list of all
/// requests. Every part of it can be used by the keyboard alone.
class TerminalWindow final : public QMainWindow {
 public:
  /// `terminal` must live longer than the window.
  explicit TerminalWindow(Terminal& terminal);

  /// Shows what changed. A new request is chosen, unless one that waits is.
  void refresh();
  /// Reads a script from a file; a fault is a sentence in the window.
  void loadScript(const QString& path);

 private:
  void makeMenu();
  QWidget* makeRequestPane();
  void chooseScript();
  void showChosen();
  [[nodiscard]] const Request* chosen() const;

  Terminal& terminal_;
  QListWidget* list_;
  QLabel* operation_ = nullptr;
  QLabel* amount_ = nullptr;
  QLabel* arrival_ = nullptr;
  QPlainTextEdit* details_ = nullptr;
  OutcomeButtons* buttons_ = nullptr;
  QLabel* fault_ = nullptr;
  QCheckBox* shown_ = nullptr;
  QPlainTextEdit* traffic_ = nullptr;
  QLabel* script_ = nullptr;
  QString scriptFault_;
  std::size_t forgotten_ = 0;
};

}  // namespace tilvanego::terminal
