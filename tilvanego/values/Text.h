#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <tilvanego/values/Lifetime.h>

/// Unicode text in UTF-8. Nothing here depends on a locale, or throws for any input. Ill-formed sequences are
/// kept unchanged: they have no case, are not blank, and equal only the same bytes. Any thread may call these
/// functions.
namespace [[gnu::visibility("default")]] tilvanego {

/// Returns `text` without the whitespace and newlines at both ends: U+0009 to U+000D, U+0020, U+0085,
/// U+00A0, U+1680, U+2000 to U+200B, U+2028, U+2029, U+202F, U+205F and U+3000. The view points into `text`.
[[nodiscard]] std::string_view trimmed(std::string_view text TILVANEGO_LIFETIMEBOUND);

/// Returns the text in upper case, by the full case mappings: "ß" becomes "SS".
[[nodiscard]] std::string uppercased(std::string_view text);

/// Returns the text in lower case, by the full case mappings, each character on its own: "Σ" becomes "σ" also
/// at the end of a word.
[[nodiscard]] std::string lowercased(std::string_view text);

/// Whether two texts are equal, case-insensitively: a canonical caseless match (The Unicode Standard,
/// definition D145). "É" matches "é" in composed and decomposed form, "ﬁ" matches "FI". If either text is not
/// UTF-8, only ASCII letters are compared case-insensitively. Allocates nothing if both are ASCII.
[[nodiscard]] bool equalIgnoringCase(std::string_view a, std::string_view b);

/// Returns a key for case-insensitive look-up: two texts have the same key exactly if `equalIgnoringCase`
/// returns true for them.
[[nodiscard]] std::string caseFolded(std::string_view text);

/// Returns the number of characters that a reader sees: extended grapheme clusters (Unicode Standard Annex
/// #29). Each ill-formed sequence counts as U+FFFD.
[[nodiscard]] std::size_t characterCount(std::string_view text);

/// Whether the text is well-formed UTF-8: no overlong form, no surrogate, nothing above U+10FFFF.
[[nodiscard]] bool isValidUTF8(std::string_view text);

}  // namespace tilvanego
