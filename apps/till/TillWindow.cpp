#include "TillWindow.h"

#include <QFontMetrics>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>

#include "EntryForm.h"
#include "apps/window/ReadOnlyText.h"
#include "apps/window/ShownText.h"

namespace tilvanego::till {

using program::shownLine;

namespace {

// Of a receipt's line, or one of the log.
constexpr qsizetype longestLine = 2000;

QListWidget* makeList(const QString& name) {
  auto* const list = new QListWidget;
  list->setAccessibleName(name);
  // A long id ends in dots.
  list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  // The height is for the texts: a list scrolls.
  list->setMaximumHeight(list->fontMetrics().lineSpacing() * 6);
  return list;
}

// A titled part of the window.
QWidget* makePart(const QString& title, std::initializer_list<QWidget*> widgets) {
  auto* const part = new QGroupBox(title);
  auto* const column = new QVBoxLayout(part);
  for (QWidget* const widget : widgets) column->addWidget(widget);
  return part;
}

}  // namespace

TillWindow::TillWindow(Till& till) : till_(till) {
  setWindowTitle("Till");
  auto* const parts = new QSplitter;
  parts->addWidget(makeEntryPane());
  parts->addWidget(makeResultPane());
  parts->setStretchFactor(1, 2);
  setCentralWidget(parts);
  auto* const quit = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this);
  QObject::connect(quit, &QShortcut::activated, [this] { close(); });
  resize(fontMetrics().averageCharWidth() * 130, fontMetrics().height() * 42);
  refresh();
  form_->beginWithAmount();
}

QWidget* TillWindow::makeEntryPane() {
  form_ = new EntryForm([this](const Entry& entry) { till_.start(entry); });
  fault_ = new QLabel;
  fault_->setAccessibleName("What went wrong");
  fault_->setTextFormat(Qt::PlainText);
  fault_->setWordWrap(true);
  // A long word makes no form wider.
  fault_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  QFont bold = fault_->font();
  bold.setBold(true);
  fault_->setFont(bold);

  auto* const content = new QWidget;
  auto* const column = new QVBoxLayout(content);
  column->addWidget(form_);
  column->addWidget(fault_);
  column->addStretch();
  auto* const pane = new QScrollArea;
  pane->setWidget(content);
  pane->setWidgetResizable(true);
  pane->setFrameShape(QFrame::NoFrame);
  return pane;
}

QWidget* TillWindow::makeResultPane() {
  pending_ = makeList("Pending operations");
  cancel_ = new QPushButton("&Cancel the chosen one");
  QObject::connect(cancel_, &QPushButton::clicked, [this] { cancelChosen(); });
  receipts_ = makeList("Receipts");
  receipt_ = new program::ReadOnlyText("Receipt", 8);
  QObject::connect(receipts_, &QListWidget::currentRowChanged, [this] { showReceipt(); });
  log_ = new program::ReadOnlyText("Log of the library", 6);

  auto* const pane = new QSplitter(Qt::Vertical);
  pane->addWidget(makePart("Pending", {pending_, cancel_}));
  pane->addWidget(makePart("Receipts", {receipts_, receipt_}));
  pane->addWidget(makePart("What the library says", {log_}));
  const QList<int> shares{1, 3, 2};
  pane->setSizes(shares);
  for (int part = 0; part < pane->count(); ++part) pane->setStretchFactor(part, shares.at(part));
  pane->setContentsMargins(0, 6, 6, 6);
  return pane;
}

void TillWindow::cancelChosen() {
  const auto pending = till_.pending();
  const int row = pending_->currentRow();
  if (row >= 0 && static_cast<std::size_t>(row) < pending.size()) {
    till_.cancel(pending[static_cast<std::size_t>(row)].kind);
  }
}

void TillWindow::refresh() {
  fault_->setText(shownLine(till_.fault()));
  fault_->setVisible(!till_.fault().empty());
  refreshPending();
  refreshReceipts();
  refreshLog();
}

void TillWindow::refreshPending() {
  QStringList texts;
  for (const PendingOperation& one : till_.pending()) {
    QString text = shownLine(operationName(one.kind));
    if (one.transport) text += " \u00b7 " + shownLine(one.transport->text());
    text += " \u00b7 " + shownLine(one.requestId.value_or("without an id"));
    texts.append(text);
  }
  const int row = pending_->currentRow();
  pending_->clear();
  pending_->addItems(texts);
  if (!texts.isEmpty()) pending_->setCurrentRow(std::clamp(row, 0, pending_->count() - 1));
  cancel_->setEnabled(!texts.isEmpty());
}

void TillWindow::refreshReceipts() {
  const std::size_t first = till_.receiptsEver() - till_.receipts().size();
  // What the till has forgotten.
  while (receipts_->count() > 0 && shownReceipts_ - static_cast<std::size_t>(receipts_->count()) < first) {
    delete receipts_->takeItem(0);
  }
  for (; shownReceipts_ < till_.receiptsEver(); ++shownReceipts_) {
    const Receipt& receipt = till_.receipts()[shownReceipts_ - first];
    receipts_->addItem(shownLine(receipt.title));
    receipts_->setCurrentRow(receipts_->count() - 1);
    if (!receipt.transactionId.empty())
      form_->setTransactionId(QString::fromStdString(receipt.transactionId));
    // So that a list of windows shows it.
    setWindowTitle(shownLine(receipt.title) + " \u2013 Till");
  }
  showReceipt();
}

void TillWindow::showReceipt() {
  QString text;
  const int row = receipts_->currentRow();
  if (row >= 0 && static_cast<std::size_t>(row) < till_.receipts().size()) {
    const Receipt& receipt = till_.receipts()[static_cast<std::size_t>(row)];
    text = shownLine(receipt.title) + '\n';
    for (const std::string& line : receipt.lines) text += '\n' + shownLine(line, longestLine);
  }
  receipt_->setPlainText(text);
}

void TillWindow::refreshLog() {
  const auto& lines = till_.log();
  const std::size_t first = till_.written() - lines.size();
  log_->setMaximumBlockCount(static_cast<int>(Till::mostLines));
  for (shownLines_ = std::max(shownLines_, first); shownLines_ < till_.written(); ++shownLines_) {
    log_->appendPlainText(shownLine(lines[shownLines_ - first], longestLine));
  }
}

}  // namespace tilvanego::till
