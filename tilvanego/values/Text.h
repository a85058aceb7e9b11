#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <tilvanego/values/Lifetime.h>

/// Unicode text, as UTF-8, with no locale. Nothing here depends on the process's locale or throws for any
/// input. Sequences that aren't well-formed UTF-8 are kept as they are: they have no case, are not blank, and
/// equal only themselves byte for byte. All functions may be called from any thread.
namespace tilvanego {

/// The part of `text` without the whitespace and newlines at both ends: U+0009 to U+000D, U+0020, U+0085,
/// U+00A0, U+1680, U+2000 to U+200B, U+2028, U+2029, U+202F, U+205F and U+3000. The view points into `text`.
[[nodiscard]] std::string_view trimmed(std::string_view text TILVANEGO_LIFETIMEBOUND);

/// The text in capitals by the full case mappings ("ß" gives "SS").
[[nodiscard]] std::string uppercased(std::string_view text);

/// The text in lower case by the full case mappings, each character on its own: "Σ" gives "σ" at the end of a
/// word too.
[[nodiscard]] std::string lowercased(std::string_view text);

/// Whether two texts are a canonical caseless match (The Unicode Standard, definition D145): "É" matches "é"
/// in composed and decomposed form, "ﬁ" matches "FI". If either isn't well-formed UTF-8, only ASCII letters
/// match without regard to case. Allocates nothing as long as both are ASCII.
[[nodiscard]] bool equalIgnoringCase(std::string_view a, std::string_view b);

/// A key for look-up without regard to case: two texts have the same key exactly if `equalIgnoringCase`
/// holds.
[[nodiscard]] std::string caseFolded(std::string_view text);

/// The number of characters as a reader sees them: extended grapheme clusters (Unicode Standard Annex #29).
/// Each ill-formed sequence counts as U+FFFD does.
[[nodiscard]] std::size_t characterCount(std::string_view text);

/// Whether the text is well-formed UTF-8: no overlong form, no surrogate, nothing above U+10FFFF.
[[nodiscard]] bool isValidUTF8(std::string_view text);

}  // namespace tilvanego
