#include <tilvanego/sandbox/Outcome.h>

#include <algorithm>
#include <string>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

Outcome outcomeForAmount(const Decimal& amount) {
  const std::string text = amount.text();
  const std::size_t point = text.find('.');
  if (point == std::string::npos) return Outcome::approve;
  const auto* const deciding =
      std::ranges::find(decidingFractions, text.substr(point + 1), &DecidingFraction::fraction);
  return deciding != decidingFractions.end() ? deciding->outcome : Outcome::approve;
}

}  // namespace sandbox
}  // namespace tilvanego
