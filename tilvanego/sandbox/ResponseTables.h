#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <tilvanego/sandbox/KeySpelling.h>
#include <tilvanego/sandbox/LaunchLink.h>

/// The payment application's response to each operation.
namespace tilvanego::sandbox {

/// The outcome of an operation in its response.
enum class Verdict { approved, declined, cancelled, failed };

/// An item of a response.
struct ResponseField {
  /// The first spelling of the item's name.
  std::string_view name;
  /// The item's value; nothing if the response doesn't have the item.
  std::optional<std::string> (*value)(const LaunchLink& link, Verdict verdict);
};

/// Status words with the same meaning; unused places are empty.
using StatusRow = std::array<std::string_view, 5>;

/// The responses to one operation.
struct ResponseTable {
  Operation operation;
  /// The status of a successful operation.
  std::string_view approved;
  /// The status of a declined operation. If the library has no result for this status, nor for "cancelled"
  /// and "failed", it reads it as a failure.
  std::string_view declined;
  /// The items after request id and status, in order.
  std::span<const ResponseField> fields;
  /// All spellings that the library accepts for each item name, including request id and status.
  std::span<const KeyNames> keys;
  /// The status words that the library accepts, a row for each result.
  std::span<const StatusRow> words;
};

[[nodiscard]] const ResponseTable& responseTable(Operation operation);

/// Returns the spelling of an item's name; `name` is its first spelling.
[[nodiscard]] std::string_view spelledKey(const ResponseTable& table, std::string_view name,
                                          KeySpelling spelling);

}  // namespace tilvanego::sandbox
