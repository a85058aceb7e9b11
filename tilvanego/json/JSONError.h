#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <tilvanego/json/JSONLimits.h>

namespace tilvanego {

/// The six kinds of JSON values (RFC 8259, section 3).
enum class JSONKind : std::uint8_t { null, boolean, number, string, array, object };

/// What was wrong with a JSON text that was read, or with a value that was to be written.
enum class JSONFailure : std::uint8_t {
  unexpectedEnd,        ///< the text stops inside a value
  unexpectedCharacter,  ///< no value, comma, colon or bracket of the grammar starts here
  trailingContent,      ///< something follows the one value
  invalidNumber,        ///< a number that breaks the grammar, such as `5.` or `1e`
  invalidEscape,        ///< an unknown escape, or half of a surrogate pair
  controlCharacter,     ///< a character below U+0020 stands unescaped in a text
  invalidUTF8,          ///< a text isn't UTF-8; also raised on writing
  tooDeep,              ///< lists and objects nest deeper than the limit; also raised on writing
  wrongKind,            ///< a value of another kind than the record wants, `null` included
  numberOutOfRange,     ///< a number that isn't whole or doesn't fit the expected type
  missingKey,           ///< a required key isn't there
  unknownText,          ///< a text that isn't one of an enumeration's
  invalidValue,         ///< the right kind, but not what a codec takes, such as a text that is no date
  notFinite,            ///< writing: an infinity or a NaN, for which JSON has no form
  beyondLimit,          ///< reading costs more than the reader's `JSONLimits` allow
};

/// One step into a value: a key of an object or an index of a list.
using JSONPathStep = std::variant<std::string, std::size_t>;

/// Why a JSON text couldn't be read, or a value not be written.
struct JSONError {
  JSONFailure failure = JSONFailure::unexpectedEnd;
  /// Where in the text, in bytes from its start; 0 on writing.
  std::size_t offset = 0;
  /// It was a value that couldn't be written, so that there is no text to point into.
  bool onWriting = false;
  /// `wrongKind`: the expected kind, and the kind that was found.
  JSONKind expected = JSONKind::null;
  JSONKind found = JSONKind::null;
  /// `missingKey`: the key. `unknownText` and `invalidValue`: a codec's own words, or empty.
  std::string detail = {};
  /// The steps from the innermost value out to the whole.
  std::vector<JSONPathStep> stepsOutward = {};

  /// The way to the value, such as `trace.history[2].timestamp`; empty for the whole. Keys that aren't plain
  /// names stand in quotes, and everything in them that could move a cursor, end a line or turn the direction
  /// of writing as `\u` escapes.
  [[nodiscard]] std::string path() const;
  /// What was wrong, without where: `expected a number, found a text`.
  [[nodiscard]] std::string reason() const;
  /// Where and what, such as `trace.history[2].timestamp: expected a date`. A missing key ends its path; the
  /// whole text is `$`.
  [[nodiscard]] std::string report() const;
  /// One line for a developer, such as `expected a number, found a text at [3].amount (byte 120)`. Shows
  /// keys, never values.
  [[nodiscard]] std::string description() const;

  bool operator==(const JSONError&) const = default;
};

}  // namespace tilvanego
