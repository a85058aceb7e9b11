#include <tilvanego/values/DecimalFormatter.h>

namespace [[gnu::visibility("default")]] tilvanego {

std::string formattedDecimal(const Decimal& value) {
  const Decimal rounded = value.rounded(3);
  return value.isNegative() && rounded.isZero() ? "-0" : rounded.text();
}

}  // namespace tilvanego
