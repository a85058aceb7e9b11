#pragma once

#include <array>
#include <string_view>
#include <utility>

#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/RawText.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

// Enumerations write their raw texts.
using tilvanego::operator<<;

/// What the payment application does with a request.
enum class Outcome {
  approve,
  /// The clear data of a card is returned masked: that operation has no decline.
  decline,
  cancel,
  fail,
  /// There is no callback.
  silent,
  /// The callback has the id of another request.
  wrongId,
  /// The callback has no status.
  noStatus,
  /// The status is not one of the operation's status words.
  unknownStatus,
  /// The compressed or sealed response was changed on its way.
  tampered,
  /// The sealed response came too late.
  expired,
};

/// The outcome of requests whose amount has a certain fraction.
struct DecidingFraction {
  /// The digits after the point as a `Decimal` writes them.
  std::string_view fraction;
  Outcome outcome;
};

/// All fractions with an outcome of their own. Every other amount is approved.
inline constexpr std::array decidingFractions{
    DecidingFraction{"01", Outcome::decline},       DecidingFraction{"02", Outcome::cancel},
    DecidingFraction{"03", Outcome::fail},          DecidingFraction{"04", Outcome::silent},
    DecidingFraction{"05", Outcome::wrongId},       DecidingFraction{"06", Outcome::noStatus},
    DecidingFraction{"07", Outcome::unknownStatus}, DecidingFraction{"08", Outcome::tampered},
    DecidingFraction{"09", Outcome::expired},
};

/// Returns the outcome for an amount. Only the fraction counts: 12.01 and 7.01 are both declined.
[[nodiscard]] Outcome outcomeForAmount(const Decimal& amount);

}  // namespace sandbox
}  // namespace tilvanego

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
