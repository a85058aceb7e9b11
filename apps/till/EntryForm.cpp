#include "EntryForm.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <array>
#include <utility>

namespace tilvanego::till {
namespace {

struct NamedTransport {
  const char* name;
  PaymentLaunchTransport (*make)();
};
// A link longer than this is compressed, and sealed if that doesn't help.
constexpr std::int64_t longestInline = 2000;
constexpr std::array transports{
    NamedTransport{"In the link", &PaymentLaunchTransport::urlScheme},
    NamedTransport{"Compressed in the link", &PaymentLaunchTransport::gzip},
    NamedTransport{"Sealed on the clipboard", &PaymentLaunchTransport::pasteboard},
    NamedTransport{"What fits", [] { return PaymentLaunchTransport::automatic(longestInline); }},
};
constexpr auto keypadRows =
    std::to_array<const char*>({"7", "8", "9", "4", "5", "6", "1", "2", "3", ".", "0", "⌫"});

QComboBox* makeChoice(const QStringList& choices) {
  auto* const box = new QComboBox;
  box->addItems(choices);
  return box;
}

void enlarge(QWidget& widget, double times) {
  QFont font = widget.font();
  font.setPointSizeF(font.pointSizeF() * times);
  widget.setFont(font);
}

// A row, and the name by which a screen reader calls its field.
void addRow(QFormLayout& rows, const QString& label, QWidget& field) {
  rows.addRow(label, &field);
  field.setAccessibleName(QString(label).remove('&'));
}

}  // namespace

EntryForm::EntryForm(std::function<void(const Entry& entry)> started)
    : rows_(new QFormLayout(this)),
      operation_(new QComboBox),
      amount_(new QLineEdit),
      keypad_(makeKeypad()),
      tip_(new QLineEdit),
      currency_(makeChoice({"EUR", "USD", "GBP", "CHF", "SEK", "PLN", "JPY"})),
      transport_(new QComboBox),
      transactionId_(new QLineEdit),
      basicToken_(new QLineEdit),
      accountId_(new QLineEdit),
      environment_(makeChoice({"STAGING", "CERT", "PROD"})),
      start_(new QPushButton("&Start")) {
  for (const OperationKind kind : operationKinds)
    operation_->addItem(QString::fromStdString(operationName(kind)));
  for (const NamedTransport& one : transports) transport_->addItem(one.name);
  currency_->setEditable(true);
  basicToken_->setEchoMode(QLineEdit::Password);
  enlarge(*amount_, 2.5);
  enlarge(*start_, 1.4);
  amount_->setAlignment(Qt::AlignRight);

  addRow(*rows_, "&Operation", *operation_);
  addRow(*rows_, "&Amount", *amount_);
  addRow(*rows_, "Keypad", *keypad_);
  addRow(*rows_, "&Tip", *tip_);
  addRow(*rows_, "C&urrency", *currency_);
  addRow(*rows_, "Tra&nsport", *transport_);
  addRow(*rows_, "Transaction &id", *transactionId_);
  addRow(*rows_, "Basic to&ken", *basicToken_);
  addRow(*rows_, "Account i&d", *accountId_);
  addRow(*rows_, "&Environment", *environment_);
  rows_->addRow(start_);

  QObject::connect(operation_, &QComboBox::currentIndexChanged, [this] { showNeeded(); });
  const auto start = [this, started = std::move(started)] { started(entry()); };
  QObject::connect(start_, &QPushButton::clicked, start);
  for (QLineEdit* const field : {amount_, tip_, transactionId_, basicToken_, accountId_}) {
    QObject::connect(field, &QLineEdit::returnPressed, start);
  }
  showNeeded();
}

// For a finger or a mouse: who types, types the amount.
QWidget* EntryForm::makeKeypad() {
  auto* const keypad = new QWidget;
  auto* const grid = new QGridLayout(keypad);
  grid->setContentsMargins(0, 0, 0, 0);
  for (std::size_t i = 0; i < keypadRows.size(); ++i) {
    const QString key = QString::fromUtf8(keypadRows[i]);
    const bool removes = key == "⌫";
    auto* const button = new QPushButton(key);
    button->setAccessibleName(removes ? "Remove the last digit" : key == "." ? "Point" : key);
    button->setFocusPolicy(Qt::NoFocus);
    enlarge(*button, 1.6);
    QObject::connect(button, &QPushButton::clicked, [this, key, removes] {
      QString text = amount_->text();
      if (removes) {
        text.chop(1);
      } else {
        text += key;
      }
      amount_->setText(text);
    });
    grid->addWidget(button, static_cast<int>(i) / 3, static_cast<int>(i) % 3);
  }
  return keypad;
}

void EntryForm::showNeeded() {
  const Needs needed = needs(entry().kind);
  const auto show = [this](QWidget* field, bool isNeeded) {
    field->setVisible(isNeeded);
    rows_->labelForField(field)->setVisible(isNeeded);
  };
  show(amount_, needed.amount);
  show(keypad_, needed.amount);
  show(tip_, needed.tip);
  show(currency_, needed.currency);
  show(transport_, needed.transport);
  show(transactionId_, needed.transactionId);
  for (QWidget* const field : std::initializer_list<QWidget*>{basicToken_, accountId_, environment_}) {
    show(field, needed.credentials);
  }
}

Entry EntryForm::entry() const {
  return {.kind = operationKinds[static_cast<std::size_t>(operation_->currentIndex())],
          .amount = amount_->text().trimmed().toStdString(),
          .tip = tip_->text().trimmed().toStdString(),
          .currency = currency_->currentText().trimmed().toStdString(),
          .transactionId = transactionId_->text().trimmed().toStdString(),
          .basicToken = basicToken_->text().toStdString(),
          .accountId = accountId_->text().trimmed().toStdString(),
          .environment = environment_->currentText().toStdString(),
          .transport = transports.at(static_cast<std::size_t>(transport_->currentIndex())).make()};
}

void EntryForm::beginWithAmount() { amount_->setFocus(); }

void EntryForm::setTransactionId(const QString& id) { transactionId_->setText(id); }

}  // namespace tilvanego::till
