#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include <tilvanego/json/JSONLimits.h>
#include <tilvanego/values/CaseNames.h>
#include <tilvanego/values/Shown.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The six kinds of JSON values (RFC 8259, section 3).
enum class JSONKind : std::uint8_t { null, boolean, number, string, array, object };

template <>
inline constexpr bool showsCaseNames<JSONKind> = true;

/// Why reading a JSON text or writing a value failed.
enum class JSONFailure : std::uint8_t {
  unexpectedEnd,        ///< the text stops inside a value
  unexpectedCharacter,  ///< no value, comma, colon or bracket of the grammar starts here
  trailingContent,      ///< something follows the one value
  invalidNumber,        ///< a number that breaks the grammar, such as `5.` or `1e`
  invalidEscape,        ///< an unknown escape, or half of a surrogate pair
  controlCharacter,     ///< an unescaped character below U+0020 in a string
  invalidUTF8,          ///< a string is not UTF-8; on writing, too
  tooDeep,              ///< arrays and objects nest deeper than the limit; on writing, too
  wrongKind,            ///< a value of another kind than expected, such as `null`
  numberOutOfRange,     ///< a number that is not whole or does not fit the expected type
  missingKey,           ///< a required key is missing
  unknownText,          ///< a string that is not a raw text of the enumeration
  invalidValue,         ///< the right kind, but refused by a codec, such as a string that is not a date
  notFinite,            ///< on writing: an infinity or a NaN, for which JSON has no form
  beyondLimit,          ///< reading costs more than the reader's `JSONLimits` allow
};

template <>
inline constexpr bool showsCaseNames<JSONFailure> = true;

/// One step into a value: a key of an object or an index of an array.
using JSONPathStep = std::variant<std::string, std::size_t>;

/// Why a JSON text could not be read, or a value could not be written.
struct JSONError {
  JSONFailure failure = JSONFailure::unexpectedEnd;
  /// The position in the text, in bytes from its start. 0 on writing.
  std::size_t offset = 0;
  /// True if writing failed: `offset` then means nothing.
  bool onWriting = false;
  /// For `wrongKind`: the expected kind and the kind that was found.
  JSONKind expected = JSONKind::null;
  JSONKind found = JSONKind::null;
  /// For `missingKey`, the key. For other failures, an error text of the codec, or empty.
  std::string detail = {};
  /// The path to the value, the innermost step first.
  std::vector<JSONPathStep> stepsOutward = {};

  /// Returns the path to the value, such as `trace.history[2].timestamp`; empty for the whole text. Keys that
  /// are not plain names are quoted. Control characters, line ends and direction marks in keys are `\u`
  /// escapes.
  [[nodiscard]] std::string path() const;
  /// Returns the reason without the path: `expected a number, found a text`.
  [[nodiscard]] std::string reason() const;
  /// Returns path and reason, such as `trace.history[2].timestamp: expected a date`. A missing key is the
  /// last step of the path. The whole text is `$`.
  [[nodiscard]] std::string report() const;
  /// Returns one line for a developer, such as `expected a number, found a text at [3].amount (byte 120)`.
  /// Shows keys, never values.
  [[nodiscard]] std::string description() const;

  bool operator==(const JSONError&) const = default;
};

}  // namespace tilvanego
