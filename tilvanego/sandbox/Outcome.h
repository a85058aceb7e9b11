#pragma once

#include <array>
#include <string_view>
#include <utility>

#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/RawText.h>

namespace tilvanego::sandbox {

/// What the payment application does with a request.
enum class Outcome {
  approve,
  /// Clear data, which nobody declines, comes masked.
  decline,
  cancel,
  fail,
  /// No callback at all.
  silent,
  /// The answer to another request.
  wrongId,
  noStatus,
  /// A status that is no word of the operation.
  unknownStatus,
  /// A sealed or compressed answer that was changed on its way.
  tampered,
  /// A sealed answer that came too late.
  expired,
};

/// An amount that decides: its fraction, and what then happens.
struct DecidingFraction {
  /// The digits after the point as a `Decimal` writes them.
  std::string_view fraction;
  Outcome outcome;
};

/// The fractions that mean something. All other amounts are approved.
inline constexpr std::array decidingFractions{
    DecidingFraction{"01", Outcome::decline},       DecidingFraction{"02", Outcome::cancel},
    DecidingFraction{"03", Outcome::fail},          DecidingFraction{"04", Outcome::silent},
    DecidingFraction{"05", Outcome::wrongId},       DecidingFraction{"06", Outcome::noStatus},
    DecidingFraction{"07", Outcome::unknownStatus}, DecidingFraction{"08", Outcome::tampered},
    DecidingFraction{"09", Outcome::expired},
};

/// The outcome that an amount stands for, by its fraction alone: 12.01 and 7.01 are both declined.
[[nodiscard]] Outcome outcomeForAmount(const Decimal& amount);

}  // namespace tilvanego::sandbox

template <>
struct tilvanego::RawTexts<tilvanego::sandbox::Outcome> {
  using enum sandbox::Outcome;
  static constexpr std::array table{
      std::pair{approve, std::string_view("approve")},
      std::pair{decline, std::string_view("decline")},
      std::pair{cancel, std::string_view("cancel")},
      std::pair{fail, std::string_view("fail")},
      std::pair{silent, std::string_view("silent")},
      std::pair{wrongId, std::string_view("wrong-id")},
      std::pair{noStatus, std::string_view("no-status")},
      std::pair{unknownStatus, std::string_view("unknown-status")},
      std::pair{tampered, std::string_view("tampered")},
      std::pair{expired, std::string_view("expired")},
  };
};
