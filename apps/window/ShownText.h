#pragma once

#include <QString>
#include <string>

/// Texts of others in a window. A text can't pretend to be two lines or run backwards, and a long one doesn't
/// keep the window busy.
namespace tilvanego::program {

/// Returns the text in one line: with an escape such as `\u{202e}` for each line end, control character,
/// direction mark and whatever else is invisible, and for what follows `most` characters how many these are.
/// The two joiners are kept, without which scripts and emoji fall apart.
[[nodiscard]] QString shownLine(const std::string& text, qsizetype most = 300);

/// Returns `shownLine` of each line of the text.
[[nodiscard]] QString shownLines(const std::string& text, qsizetype most);

}  // namespace tilvanego::program
