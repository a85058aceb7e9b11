#include "TerminalWindow.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QSplitter>
#include <QStatusBar>
#include <QVBoxLayout>

#include "OutcomeButtons.h"
#include "RequestText.h"
#include "apps/tilvanego/ScriptFile.h"
#include "apps/window/ReadOnlyText.h"
#include "apps/window/ShownText.h"

namespace tilvanego::terminal {

using program::shownLine;
using program::shownLines;

namespace {

constexpr const char* title = "Payment terminal (rehearsal)";

// Of what is asked, and of a link or an answer, which the person may copy.
constexpr qsizetype longestLine = 2000;
constexpr qsizetype longestLink = 16'000;

// A font so many times as large as the usual one: it follows the person's settings.
QFont larger(const QWidget& widget, double times) {
  QFont font = widget.font();
  font.setPointSizeF(font.pointSizeF() * times);
  font.setBold(true);
  return font;
}

// Its text can be selected by keyboard, too.
QLabel* makeLabel(const QString& name, double size = 1) {
  auto* const label = new QLabel;
  label->setTextFormat(Qt::PlainText);
  label->setAccessibleName(name);
  label->setWordWrap(true);
  if (size > 1) label->setFont(larger(*label, size));
  return label;
}

void showOrHide(QLabel& label, const std::string& text) {
  label.setText(shownLine(text));
  label.setVisible(!text.empty());
}

}  // namespace

TerminalWindow::TerminalWindow(Terminal& terminal) : terminal_(terminal), list_(new QListWidget) {
  list_->setAccessibleName("Requests");
  // A request's id is too long for a line, and stands beside the list.
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  QObject::connect(list_, &QListWidget::currentRowChanged, [this] { showChosen(); });

  auto* const pane = new QScrollArea;
  pane->setWidget(makeRequestPane());
  pane->setWidgetResizable(true);
  pane->setFrameShape(QFrame::NoFrame);
  auto* const parts = new QSplitter;
  parts->addWidget(list_);
  parts->addWidget(pane);
  parts->setSizes({1000, 2000});  // shares
  parts->setStretchFactor(0, 1);
  parts->setStretchFactor(1, 2);
  setCentralWidget(parts);

  script_ = makeLabel("Script");
  statusBar()->addWidget(script_, 1);
  makeMenu();
  resize(fontMetrics().averageCharWidth() * 120, fontMetrics().height() * 40);
  refresh();
}

void TerminalWindow::makeMenu() {
  QMenu* const menu = menuBar()->addMenu("&Script");
  menu->addAction("&Load a script…", QKeySequence::Open, [this] { chooseScript(); });
  menu->addAction("&Decide by hand", [this] {
    scriptFault_.clear();
    terminal_.setScript(std::nullopt);
  });
  menu->addSeparator();
  menu->addAction("&Quit", QKeySequence(Qt::CTRL | Qt::Key_Q), [this] { close(); });
}

QWidget* TerminalWindow::makeRequestPane() {
  operation_ = makeLabel("Operation", 1.4);
  amount_ = makeLabel("Amount", 3.5);
  arrival_ = makeLabel("How the request came");
  details_ = new program::ReadOnlyText("What is asked", 7);
  buttons_ = new OutcomeButtons([this](sandbox::Outcome outcome) {
    if (chosen() != nullptr) terminal_.decide(static_cast<std::size_t>(list_->currentRow()), outcome);
  });
  fault_ = makeLabel("What went wrong", 1.1);
  // A long word makes no window wider.
  fault_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  shown_ = new QCheckBox("Show &link and answer, with their secrets");
  QObject::connect(shown_, &QCheckBox::toggled, [this] { showChosen(); });
  traffic_ = new program::ReadOnlyText("Link and answer", 4);

  auto* const pane = new QWidget;
  auto* const column = new QVBoxLayout(pane);
  for (QWidget* const part : std::initializer_list<QWidget*>{operation_, amount_, arrival_, buttons_, fault_,
                                                             details_, shown_, traffic_}) {
    column->addWidget(part);
  }
  column->setStretchFactor(details_, 2);
  column->setStretchFactor(traffic_, 1);
  return pane;
}

void TerminalWindow::chooseScript() {
  const QString path =
      QFileDialog::getOpenFileName(this, "Load a script", {}, "Scripts (*.jsonl);;All files (*)");
  if (!path.isEmpty()) loadScript(path);
}

void TerminalWindow::loadScript(const QString& path) {
  auto script = program::readScriptFile(path.toStdString());
  scriptFault_ = script ? QString() : "The script was not loaded: " + shownLine(script.error());
  if (script) {
    terminal_.setScript(*std::move(script));
  } else {
    refresh();
  }
}

void TerminalWindow::refresh() {
  const auto& requests = terminal_.requests();
  // The list keeps what is chosen, whichever row it moves to.
  for (; forgotten_ < terminal_.forgotten(); ++forgotten_) delete list_->takeItem(0);
  const Request* const before = chosen();
  const bool wasDeciding = before != nullptr && before->waits();
  const int added = static_cast<int>(requests.size()) - list_->count();
  for (int row = 0; row < static_cast<int>(requests.size()); ++row) {
    const QString text = shownLine(summary(requests[static_cast<std::size_t>(row)]));
    if (row == list_->count()) list_->addItem(QString());
    if (list_->item(row)->text() != text) list_->item(row)->setText(text);
  }
  if (added > 0 && !wasDeciding) list_->setCurrentRow(list_->count() - 1);

  std::string script = terminal_.hasScript() ? "A script decides." : "You decide.";
  for (const std::string& note : terminal_.scriptNotes()) script += " " + note + ".";
  script_->setText(scriptFault_.isEmpty() ? shownLine(script) : scriptFault_);
  showChosen();
}

const Request* TerminalWindow::chosen() const {
  const int row = list_->currentRow();
  const auto& requests = terminal_.requests();
  if (row < 0 || static_cast<std::size_t>(row) >= requests.size()) return nullptr;
  return &requests[static_cast<std::size_t>(row)];
}

void TerminalWindow::showChosen() {
  const Request* const request = chosen();
  const bool readable = request != nullptr && request->asked;
  operation_->setText(request == nullptr ? "Nothing was asked yet."
                      : readable         ? shownLine(operationName(request->asked->operation()))
                                         : QString("A link that can't be read"));
  showOrHide(*amount_, readable ? amountText(*request->asked) : "");
  showOrHide(*arrival_, readable ? arrivalText(request->asked->transport()) : "");
  showOrHide(*fault_, request != nullptr ? request->fault : "");
  details_->setPlainText(readable ? shownLines(details(*request), longestLine) : QString());
  details_->setVisible(readable);
  traffic_->setPlainText(request != nullptr ? shownLines(traffic(*request, shown_->isChecked()), longestLink)
                                            : QString());
  const bool waits = request != nullptr && request->waits();
  buttons_->setWaiting(waits);
  // So that a list of windows shows what waits.
  setWindowTitle(QString(waits ? operation_->text() + " " + amount_->text() + " \u2013 " : "") + title);
}

}  // namespace tilvanego::terminal
