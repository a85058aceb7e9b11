#include "ReadOnlyText.h"

#include <QFontMetrics>

namespace tilvanego::program {

ReadOnlyText::ReadOnlyText(const QString& name, int lines) : lines_(lines) {
  setReadOnly(true);
  setAccessibleName(name);
  setTabChangesFocus(true);
  setTextInteractionFlags(Qt::TextSelectableByKeyboard | Qt::TextSelectableByMouse);
}

QSize ReadOnlyText::sizeHint() const {
  const int around = 2 * (frameWidth() + static_cast<int>(document()->documentMargin()));
  return {QPlainTextEdit::minimumSizeHint().width(), fontMetrics().lineSpacing() * lines_ + around};
}

}  // namespace tilvanego::program
