#pragma once

#include <QMainWindow>
#include <cstddef>

#include "Till.h"

class QLabel;
class QListWidget;
class QPlainTextEdit;
class QPushButton;

namespace tilvanego::till {

class EntryForm;

/// The window of a host: what to start on the left, what became of it on the right. Every part of it can be
/// used by the keyboard alone.
class TillWindow final : public QMainWindow {
 public:
  /// `till` must live longer than the window.
  explicit TillWindow(Till& till);

  /// Shows what changed.
  void refresh();

 private:
  QWidget* makeEntryPane();
  QWidget* makeResultPane();
  void cancelChosen();
  void showReceipt();
  void refreshPending();
  void refreshReceipts();
  void refreshLog();

  Till& till_;
  EntryForm* form_ = nullptr;
  QLabel* fault_ = nullptr;
  QListWidget* pending_ = nullptr;
  QPushButton* cancel_ = nullptr;
  QListWidget* receipts_ = nullptr;
  QPlainTextEdit* receipt_ = nullptr;
  QPlainTextEdit* log_ = nullptr;
  std::size_t shownLines_ = 0;
  /// The receipts that the list shows, also those that the till has forgotten.
  std::size_t shownReceipts_ = 0;
};

}  // namespace tilvanego::till
