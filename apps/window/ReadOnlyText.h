#pragma once

#include <QPlainTextEdit>

namespace tilvanego::program {

/// A text that the person reads, and can select by keyboard; Tab leaves it.
class ReadOnlyText final : public QPlainTextEdit {
 public:
  /// `name` is for screen readers. It is never lower than so many lines, and grows with the window.
  ReadOnlyText(const QString& name, int lines);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 private:
  int lines_;
};

}  // namespace tilvanego::program
