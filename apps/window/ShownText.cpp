#include "ShownText.h"

#include <QStringList>
#include <algorithm>

namespace tilvanego::program {
namespace {

bool isEscaped(char32_t scalar) {
  constexpr char32_t nonJoiner = 0x200C;
  constexpr char32_t joiner = 0x200D;
  switch (QChar::category(scalar)) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
      return true;
    case QChar::Other_Format:
      return scalar != nonJoiner && scalar != joiner;
    default:
      return false;
  }
}

QString shown(const QString& text, qsizetype most) {
  QString line;
  const QList<uint> scalars = text.toUcs4();
  const qsizetype kept = std::min(scalars.size(), most);
  for (const char32_t scalar : scalars.first(kept)) {
    if (isEscaped(scalar)) {
      line += "\\u{" + QString::number(scalar, 16) + '}';
    } else {
      line += QChar::fromUcs4(scalar);
    }
  }
  if (kept < scalars.size()) line += QString(" \u2026 and %1 more characters").arg(scalars.size() - kept);
  return line;
}

}  // namespace

QString shownLine(const std::string& text, qsizetype most) {
  return shown(QString::fromStdString(text), most);
}

QString shownLines(const std::string& text, qsizetype most) {
  QStringList lines = QString::fromStdString(text).split('\n');
  for (QString& line : lines) line = shown(line, most);
  return lines.join('\n');
}

}  // namespace tilvanego::program
