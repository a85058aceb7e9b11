#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>

namespace tilvanego::detail {

/// An unsigned integer of 128 bits, with what decimal numbers need of one. For processors of 32 bits: their
/// compilers have none.
class PortableUInt128 {
 public:
  constexpr PortableUInt128() = default;
  /// Implicit, as integers widen.
  constexpr PortableUInt128(std::integral auto value) : low_(static_cast<std::uint64_t>(value)) {}

  explicit constexpr operator std::uint64_t() const { return low_; }

  friend constexpr auto operator<=>(const PortableUInt128&, const PortableUInt128&) = default;

  constexpr PortableUInt128 operator~() const { return of(~high_, ~low_); }
  friend constexpr PortableUInt128 operator|(PortableUInt128 a, PortableUInt128 b) {
    return of(a.high_ | b.high_, a.low_ | b.low_);
  }
  friend constexpr PortableUInt128 operator&(PortableUInt128 a, PortableUInt128 b) {
    return of(a.high_ & b.high_, a.low_ & b.low_);
  }
  /// By less than 128.
  friend constexpr PortableUInt128 operator<<(PortableUInt128 a, unsigned by) {
    if (by == 0) return a;
    return by >= 64 ? of(a.low_ << (by - 64), 0) : of(a.high_ << by | a.low_ >> (64 - by), a.low_ << by);
  }
  friend constexpr PortableUInt128 operator>>(PortableUInt128 a, unsigned by) {
    if (by == 0) return a;
    return by >= 64 ? of(0, a.high_ >> (by - 64)) : of(a.high_ >> by, a.high_ << (64 - by) | a.low_ >> by);
  }

  friend constexpr PortableUInt128 operator+(PortableUInt128 a, PortableUInt128 b) {
    const std::uint64_t low = a.low_ + b.low_;
    return of(a.high_ + b.high_ + (low < a.low_ ? 1 : 0), low);
  }
  friend constexpr PortableUInt128 operator-(PortableUInt128 a, PortableUInt128 b) { return a + ~b + 1; }
  friend constexpr PortableUInt128 operator*(PortableUInt128 a, PortableUInt128 b) {
    return wideProduct(a.low_, b.low_) + of(a.high_ * b.low_ + a.low_ * b.high_, 0);
  }
  friend constexpr PortableUInt128 operator/(PortableUInt128 a, PortableUInt128 b) { return divided(a, b); }
  friend constexpr PortableUInt128 operator%(PortableUInt128 a, PortableUInt128 b) {
    divided(a, b);
    return a;
  }
  constexpr PortableUInt128& operator/=(PortableUInt128 b) { return *this = *this / b; }
  constexpr PortableUInt128& operator%=(PortableUInt128 b) { return *this = *this % b; }
  constexpr PortableUInt128& operator++() { return *this = *this + 1; }

  friend constexpr bool addOverflows(PortableUInt128 a, PortableUInt128 b, PortableUInt128& sum) {
    sum = a + b;
    return sum < a;
  }
  friend constexpr bool multiplyOverflows(PortableUInt128 a, PortableUInt128 b, PortableUInt128& product) {
    const PortableUInt128 cross = wideProduct(a.high_, b.low_) + wideProduct(a.low_, b.high_);
    product = a * b;
    return (a.high_ != 0 && b.high_ != 0) || cross.high_ != 0 || product.high_ < cross.low_;
  }

 private:
  static constexpr PortableUInt128 of(std::uint64_t high, std::uint64_t low) {
    PortableUInt128 made = low;
    made.high_ = high;
    return made;
  }
  static constexpr PortableUInt128 wideProduct(std::uint64_t a, std::uint64_t b) {
    constexpr std::uint64_t half = 0xFFFFFFFF;
    const std::uint64_t low = (a & half) * (b & half);
    const std::uint64_t first = (a >> 32) * (b & half) + (low >> 32);
    const std::uint64_t second = (a & half) * (b >> 32) + (first & half);
    return of((a >> 32) * (b >> 32) + (first >> 32) + (second >> 32), second << 32 | (low & half));
  }
  // Returns the quotient, and leaves the remainder in `a`. `b` must not be zero.
  static constexpr PortableUInt128 divided(PortableUInt128& a, PortableUInt128 b) {
    if (a.high_ == 0 && b.high_ == 0) {
      const std::uint64_t quotient = a.low_ / b.low_;
      a.low_ %= b.low_;
      return quotient;
    }
    PortableUInt128 quotient, remainder;
    for (unsigned bit = 128; bit-- > 0;) {
      const bool carries = remainder.high_ >> 63 != 0;
      remainder = remainder << 1 | (a >> bit & 1);
      if (!carries && remainder < b) continue;
      remainder = remainder - b;
      quotient = quotient | PortableUInt128(1) << bit;
    }
    a = remainder;
    return quotient;
  }

  // In this order, for the comparison.
  std::uint64_t high_ = 0;
  std::uint64_t low_ = 0;
};

// Declared here too, so that a using-declaration finds them.
constexpr bool addOverflows(PortableUInt128 a, PortableUInt128 b, PortableUInt128& sum);
constexpr bool multiplyOverflows(PortableUInt128 a, PortableUInt128 b, PortableUInt128& product);

#ifdef __SIZEOF_INT128__
__extension__ using UInt128 = unsigned __int128;

constexpr bool addOverflows(UInt128 a, UInt128 b, UInt128& sum) { return __builtin_add_overflow(a, b, &sum); }
constexpr bool multiplyOverflows(UInt128 a, UInt128 b, UInt128& product) {
  return __builtin_mul_overflow(a, b, &product);
}
#else
using UInt128 = PortableUInt128;
#endif

}  // namespace tilvanego::detail
