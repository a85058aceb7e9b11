#pragma once

#include <QWidget>
#include <functional>

#include "Entry.h"

class QComboBox;
class QFormLayout;
class QLineEdit;
class QPushButton;

namespace tilvanego::till {

/// What the person enters: the operation, and the fields that it uses, with a keypad for the amount.
class EntryForm final : public QWidget {
 public:
  /// `started` is called for the button, and for Enter in a field.
  explicit EntryForm(std::function<void(const Entry& entry)> started);

  [[nodiscard]] Entry entry() const;
  /// Who types, types the amount.
  void beginWithAmount();
  /// For the next refund or capture.
  void setTransactionId(const QString& id);

 private:
  QWidget* makeKeypad();
  void showNeeded();

  QFormLayout* rows_;
  QComboBox* operation_;
  QLineEdit* amount_;
  QWidget* keypad_;
  QLineEdit* tip_;
  QComboBox* currency_;
  QComboBox* transport_;
  QLineEdit* transactionId_;
  QLineEdit* basicToken_;
  QLineEdit* accountId_;
  QComboBox* environment_;
  QPushButton* start_;
};

}  // namespace tilvanego::till
