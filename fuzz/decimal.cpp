#include <tilvanego/values/Decimal.h>

#include <tilvanego/values/Amount.h>
#include <tilvanego/values/DecimalFormatter.h>
#include <tilvanego/values/Literals.h>

#include "fuzz/Fuzzer.h"

namespace {

using tilvanego::Decimal;
using tilvanego::Rounding;

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
  require(a != b || a.hash() == b.hash());

  const auto sum = a.plus(b);
  require(sum == b.plus(a));
  require(!sum || (*sum == a + b && sum->minus(b) == a));
  const auto product = a.times(b);
  require(product == b.times(a));
  if (product && b != 0) require(product->dividedBy(b, a.fractionDigits(), Rounding::down) == a);
  const auto lower = a.dividedBy(b, 2, Rounding::down);
  const auto upper = a.dividedBy(b, 2, Rounding::up);
  for (const Rounding nearest : {Rounding::halfEven, Rounding::halfUp}) {
    const auto quotient = a.dividedBy(b, 2, nearest);
    require(!quotient || quotient == lower || quotient == upper);
  }
}

void checkAmount(std::string_view text) {
  const auto amount = tilvanego::parseAmount(text, "EUR");
  if (!amount) return;
  require(*amount == Decimal::parseExact(text));
  require(tilvanego::parseAmount(tilvanego::amountText(*amount, "EUR").value(), "EUR") == *amount);
}

}  // namespace

// Two numbers with a semicolon between them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view whole = textOf(data, size);
  const std::size_t middle = std::min(whole.find(';'), whole.size());
  const auto a = Decimal::parse(whole.substr(0, middle));
  const auto b = Decimal::parse(whole.substr(std::min(middle + 1, whole.size())));
  if (const auto exact = Decimal::parseExact(whole)) require(exact == Decimal::parse(whole));
  if (const auto literal = tilvanego::detail::LiteralReader::decimal(whole)) {
    require(literal == Decimal::parseExact(whole));
  }
  checkAmount(whole);
  if (a) checkOne(*a);
  if (b) checkOne(*b);
  if (a && b) checkTwo(*a, *b);
  return 0;
}
