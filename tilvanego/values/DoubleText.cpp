#include <tilvanego/values/DoubleText.h>

#include <array>
#include <charconv>
#include <cmath>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

constexpr double largestPlainDouble = 0x1p54;
constexpr float largestPlainFloat = 0x1p24F;

template <typename Real>
std::string shortestText(Real value, Real largestPlain) {
  const Real magnitude = std::fabs(value);
  const bool plain = magnitude == 0 || (magnitude >= static_cast<Real>(1e-4) && magnitude <= largestPlain);
  // The longest: sign, 17 digits, point, and "0.000" before them or an exponent of five characters after.
  std::array<char, 32> text{};
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value,
                                          plain ? std::chars_format::fixed : std::chars_format::scientific);
  return {text.data(), end};
}

}  // namespace

std::string doubleText(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  std::string text = shortestText(value, largestPlainDouble);
  if (text.find_first_of(".e") == text.npos) text += ".0";
  return text;
}

std::optional<std::string> doubleJSONText(double value) {
  if (!std::isfinite(value)) return std::nullopt;
  return shortestText(value, largestPlainDouble);
}

std::optional<std::string> floatJSONText(float value) {
  if (!std::isfinite(value)) return std::nullopt;
  return shortestText(value, largestPlainFloat);
}

}  // namespace tilvanego
