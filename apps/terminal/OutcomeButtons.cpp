#include "OutcomeButtons.h"

#include <QGridLayout>
#include <QKeySequence>
#include <QPushButton>
#include <algorithm>
#include <array>
#include <utility>

#include <tilvanego/values/RawText.h>

#include "RequestText.h"

namespace tilvanego::terminal {
namespace {

using sandbox::Outcome;

constexpr std::array keys{
    std::pair{Outcome::approve, Qt::Key_A}, std::pair{Outcome::decline, Qt::Key_D},
    std::pair{Outcome::cancel, Qt::Key_C},  std::pair{Outcome::fail, Qt::Key_F},
    std::pair{Outcome::silent, Qt::Key_S},
};
constexpr int columns = 3;

}  // namespace

OutcomeButtons::OutcomeButtons(std::function<void(Outcome)> chosen) {
  auto* const grid = new QGridLayout(this);
  grid->setContentsMargins(0, 0, 0, 0);
  for (const Outcome outcome : allCases<Outcome>()) {
    const QString name = QString::fromStdString(outcomeName(outcome));
    auto* const button = new QPushButton(name);
    button->setAccessibleName(name);
    const auto* const key = std::ranges::find(keys, outcome, &std::pair<Outcome, Qt::Key>::first);
    if (key != keys.end()) {
      const QKeySequence sequence(key->second);
      button->setText(name + " (" + sequence.toString() + ")");
      button->setShortcut(sequence);
    }
    QObject::connect(button, &QPushButton::clicked, [chosen, outcome] { chosen(outcome); });
    const int place = static_cast<int>(buttons_.size());
    grid->addWidget(button, place / columns, place % columns);
    buttons_.push_back(button);
  }
}

void OutcomeButtons::setWaiting(bool waiting) {
  for (QPushButton* const button : buttons_) button->setEnabled(waiting);
}

}  // namespace tilvanego::terminal
