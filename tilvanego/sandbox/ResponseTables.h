#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <tilvanego/sandbox/KeySpelling.h>
#include <tilvanego/sandbox/LaunchLink.h>

/// What the payment application answers, operation by operation.
namespace tilvanego::sandbox {

/// How far an operation came.
enum class Verdict { approved, declined, cancelled, failed };

/// An item of an answer.
struct ResponseField {
  /// Its first spelling.
  std::string_view name;
  /// What the item says; nothing leaves it out.
  std::optional<std::string> (*value)(const LaunchLink& link, Verdict verdict);
};

/// Status words that mean the same; those left over are empty.
using StatusRow = std::array<std::string_view, 5>;

/// The answers to one operation.
struct ResponseTable {
  Operation operation;
  /// The status of an operation that was done.
  std::string_view approved;
  /// The status of one that was declined. Operations without a word of their own read it as a failure, as
  /// they do "cancelled" and "failed".
  std::string_view declined;
  /// What follows request id and status, in order.
  std::span<const ResponseField> fields;
  /// How the library lets a callback spell its fields, request id and status among them.
  std::span<const KeyNames> keys;
  /// The words that the library knows, those of one result in a row.
  std::span<const StatusRow> words;
};

[[nodiscard]] const ResponseTable& responseTable(Operation operation);

/// An item's name, given by its first spelling, as a callback spells it.
[[nodiscard]] std::string_view spelledKey(const ResponseTable& table, std::string_view name,
                                          KeySpelling spelling);

}  // namespace tilvanego::sandbox
