#include <tilvanego/values/Decimal.h>

#include <tilvanego/values/DecimalFormatter.h>

#include "fuzz/Fuzzer.h"

namespace {

using tilvanego::Decimal;

void checkOne(const Decimal& value) {
  const std::string text = value.text();
  require(text.size() <= 167);
  require(Decimal::parse(text) == value);
  require(Decimal::parseExact(text) == value);
  require(value + Decimal() == value);
  require(value + -value == 0);
  require(-(-value) == value);

  const Decimal rounded = value.rounded(3);
  require(rounded.rounded(3) == rounded);
  require(Decimal::parse(tilvanego::formattedDecimal(value)) == rounded);
  // Rounding moves by half a unit at most, unless the mantissa can't hold the difference.
  const Decimal error = value + -rounded;
  require(error <= *Decimal::parse("0.0005") && error >= *Decimal::parse("-0.0005"));
}

void checkTwo(const Decimal& a, const Decimal& b) {
  require(a + b == b + a);
  require((a < b) == (b > a));
  require((a == b) == (a.text() == b.text()));
  require((a <=> b) == (-b <=> -a));
  // A sum may round, but never past the addends' order.
  require(b < 0 || a + b >= a);
  require(b > 0 || a + b <= a);
}

}  // namespace

// Two numbers with a semicolon between them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  const std::string_view whole(text);
  const std::size_t middle = std::min(whole.find(';'), whole.size());
  const auto a = Decimal::parse(whole.substr(0, middle));
  const auto b = Decimal::parse(whole.substr(std::min(middle + 1, whole.size())));
  if (const auto exact = Decimal::parseExact(whole)) require(exact == Decimal::parse(whole));
  if (a) checkOne(*a);
  if (b) checkOne(*b);
  if (a && b) checkTwo(*a, *b);
  return 0;
}
