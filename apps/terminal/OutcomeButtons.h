#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include <tilvanego/sandbox/Outcome.h>

class QPushButton;

namespace tilvanego::terminal {

/// A button for each outcome. The common ones have a key of one letter, which their texts name.
class OutcomeButtons final : public QWidget {
 public:
  /// `chosen` is called on each press.
  explicit OutcomeButtons(std::function<void(sandbox::Outcome)> chosen);

  /// Whether there is something to decide.
  void setWaiting(bool waiting);

 private:
  std::vector<QPushButton*> buttons_;
};

}  // namespace tilvanego::terminal
