#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <tilvanego/sandbox/LaunchLink.h>

/// What the payment application answers, operation by operation.
namespace tilvanego::sandbox {

/// How far an operation came.
enum class Verdict { approved, declined, cancelled, failed };

/// An item of an answer.
struct AnswerField {
  std::string_view name;
  /// What the item says; nothing leaves it out.
  std::optional<std::string> (*value)(const LaunchLink& link, Verdict verdict);
};

/// The answers to one operation.
struct AnswerTable {
  Operation operation;
  /// The status of an operation that was done.
  std::string_view approved;
  /// The status of one that was declined. Operations without a word of their own read it as a failure, as
  /// they do "cancelled" and "failed".
  std::string_view declined;
  /// What follows request id and status, in order.
  std::span<const AnswerField> fields;
};

[[nodiscard]] const AnswerTable& answerTable(Operation operation);

}  // namespace tilvanego::sandbox
