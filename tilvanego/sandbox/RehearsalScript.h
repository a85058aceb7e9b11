#pragma once

#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/json/JSON.h>
#include <tilvanego/sandbox/Delivery.h>
#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/sandbox/Response.h>
#include <tilvanego/values/Decimal.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

/// One line of a rehearsal's script: which requests it is for, and how the payment application answers them.
/// In JSON each member is a field with the member's name; what is left out or null has no value.
struct RehearsalLine {
  /// The line of the text, counted from 1. Not a field.
  std::size_t number = 0;

  /// The line fits a request that has everything given here.
  std::optional<Operation> operation = std::nullopt;
  /// In JSON a text with an exact number: "12.50", which 12.5 equals.
  std::optional<Decimal> amount = std::nullopt;
  std::optional<std::string> requestId = std::nullopt;
  /// Only the nth of the requests that fit otherwise, counted from 1, no matter which lines decided them.
  std::optional<std::size_t> nth = std::nullopt;
  /// How many requests the line decides, at least 1. Nothing: one.
  std::optional<std::size_t> times = std::nullopt;

  /// The answer. What isn't given here is as it is without a script.
  std::optional<Outcome> outcome = std::nullopt;
  std::optional<std::string> word = std::nullopt;
  std::optional<KeySpelling> keys = std::nullopt;
  /// The transport of the answer to a payment.
  std::optional<Transport> answer = std::nullopt;
  std::optional<TransportFault> fault = std::nullopt;

  /// The time before the callback is delivered, in seconds: 0...86,400. Nothing: none.
  std::optional<double> delay = std::nullopt;
  /// Nothing: once.
  std::optional<Delivery> delivery = std::nullopt;

  /// A remark for the reader. It stands in `Rehearsal::unusedLines`.
  std::optional<std::string> note = std::nullopt;

  bool operator==(const RehearsalLine&) const = default;

  /// Whether the request has what the line asks for, apart from `nth`.
  [[nodiscard]] bool fits(const LaunchLink& request) const;
  /// Replaces the parts of the decision about an operation that the line gives.
  void applyTo(Decision& decision, Operation asked) const;

  /// The codec of `amount`.
  struct ExactAmount {
    static bool read(json::Reader& reader, Decimal& amount);
    static bool write(json::Writer& writer, const Decimal& amount);
  };

  static constexpr auto jsonFields() {
    using Line = RehearsalLine;
    return json::fields(json::field("operation", &Line::operation),
                        json::field<ExactAmount>("amount", &Line::amount),
                        json::field("requestId", &Line::requestId), json::field("nth", &Line::nth),
                        json::field("times", &Line::times), json::field("outcome", &Line::outcome),
                        json::field("word", &Line::word), json::field("keys", &Line::keys),
                        json::field("answer", &Line::answer), json::field("fault", &Line::fault),
                        json::field("delay", &Line::delay), json::field("delivery", &Line::delivery),
                        json::field("note", &Line::note));
  }
};

/// A rehearsal's script, as JSON lines: one object in each line, empty lines between them. An immutable
/// value. `Rehearsal` plays it.
class RehearsalScript {
 public:
  /// The maximum size of a script and of one of its lines, in bytes, and the maximum number of lines.
  static constexpr std::size_t maxSize = std::size_t{1} << 20U;
  static constexpr std::size_t maxLineSize = std::size_t{1} << 16U;
  static constexpr std::size_t maxLines = 10'000;

  /// Reads the whole text, which must be UTF-8. Fails with the first fault: the number of its line, and what
  /// to mend. Faults are also an unknown field, a field that occurs twice, values that contradict each other,
  /// and a script without a line. Any thread may call this.
  [[nodiscard]] static std::expected<RehearsalScript, SandboxError> parse(std::string_view text);

  /// In the order of the text; at least one.
  [[nodiscard]] const std::vector<RehearsalLine>& lines() const { return lines_; }

  bool operator==(const RehearsalScript&) const = default;

 private:
  explicit RehearsalScript(std::vector<RehearsalLine> lines) : lines_(std::move(lines)) {}

  std::vector<RehearsalLine> lines_;
};

}  // namespace sandbox
}  // namespace tilvanego
