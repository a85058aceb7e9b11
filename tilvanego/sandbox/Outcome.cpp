#include <tilvanego/sandbox/Outcome.h>

#include <string>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

Outcome outcomeForAmount(const Decimal& amount) {
  const std::string text = amount.text();
  const std::size_t point = text.find('.');
  if (point == std::string::npos) return Outcome::approve;
  const std::string_view fraction = std::string_view(text).substr(point + 1);
  for (const auto& deciding : decidingFractions) {
    if (deciding.fraction == fraction) return deciding.outcome;
  }
  return Outcome::approve;
}

}  // namespace sandbox
}  // namespace tilvanego
