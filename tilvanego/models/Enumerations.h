#pragma once

#include <array>

#include <tilvanego/vocabulary/SharedEnumerations.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

/// The kind of payment.
enum class TenderType {
  credit,
  debit,
  ebt,
  fsa,
  unknownDefaultOpenApi,
};

/// The interface defines one currency.
enum class Currency {
  usd,
  unknownDefaultOpenApi,
};

/// The processor's decision as a text.
enum class AuthMessageEnum {
  approved,
  force,
  partiallyApproved,
  invalidCardNumber,
  unknown,
  declined,
  ccvDeclined,
  avsDeclined,
  invalidTransaction,
  processingException,
  timeout,
  invalidPin,
  invalidExpiry,
  suspectedFraud,
  velocityCheckFailed,
  captured,
  pending,
  unknownDefaultOpenApi,
};

/// The result of the check of the card's security code. `empty` is the empty text.
enum class CVV2ResponseCode {
  m,
  n,
  p,
  s,
  u,
  questionMark,
  empty,
  unknownDefaultOpenApi,
};

/// The result of the check of the address. `empty` is the empty text.
enum class AVSResponseCode {
  d,
  f,
  j,
  m,
  q,
  v,
  x,
  y,
  l,
  w,
  z,
  a,
  b,
  o,
  p,
  k,
  n,
  u,
  r,
  s,
  e,
  c,
  i,
  g,
  questionMark,
  empty,
  unknownDefaultOpenApi,
};

}  // namespace models

template <>
inline constexpr char models::capitalsSeparator<models::TenderType> = '_';

template <>
inline constexpr char models::capitalsSeparator<models::Currency> = '_';

template <>
inline constexpr char models::capitalsSeparator<models::AuthMessageEnum> = ' ';

template <>
struct RawTexts<models::CVV2ResponseCode> : models::OpenRawTexts<models::CVV2ResponseCode> {
  using enum models::CVV2ResponseCode;
  static constexpr std::array table{
      row(m, "M"),    row(n, "N"), row(p, "P"), row(s, "S"), row(u, "U"), row(questionMark, "?"),
      row(empty, ""), fallbackRow,
  };
};

template <>
struct RawTexts<models::AVSResponseCode> : models::OpenRawTexts<models::AVSResponseCode> {
  using enum models::AVSResponseCode;
  static constexpr std::array table{
      row(d, "D"),    row(f, "F"), row(j, "J"), row(m, "M"), row(q, "Q"),
      row(v, "V"),    row(x, "X"), row(y, "Y"), row(l, "L"), row(w, "W"),
      row(z, "Z"),    row(a, "A"), row(b, "B"), row(o, "O"), row(p, "P"),
      row(k, "K"),    row(n, "N"), row(u, "U"), row(r, "R"), row(s, "S"),
      row(e, "E"),    row(c, "C"), row(i, "I"), row(g, "G"), row(questionMark, "?"),
      row(empty, ""), fallbackRow,
  };
};

}  // namespace tilvanego
