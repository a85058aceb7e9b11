// Compiled, but never run: each FAULT is a mistake in the declaration of a record that must not compile.
// Without one, all must.
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/json/DescribedRecord.h>
#include <tilvanego/models/CatalogueEntries.h>
#include <tilvanego/vocabulary/SharedEnumerations.h>

#ifndef FAULT
#define FAULT 0
#endif

namespace tilvanego {
namespace test {

enum class Class { first, second, unknownDefaultOpenApi };

struct Ticket {
  std::string number;
  std::optional<std::string> place = {};
  std::optional<std::int64_t> price = {};
  std::optional<Class> comfort = {};
#if FAULT == 11  // no value to begin with
  std::int64_t seats;
#else
  std::int64_t seats = 1;
#endif

#if FAULT == 1  // a field forgotten
  enum class CodingKeys { number, place, price, comfort };
#elif FAULT == 2  // one too many
  enum class CodingKeys { number, place, price, comfort, seats, row };
#elif FAULT == 3  // in another order
  enum class CodingKeys { place, number, price, comfort, seats };
#else
  enum class CodingKeys { number, place, price, comfort, seats };
#endif

  static constexpr StringRule numberRule{.minLength = 1};
  static constexpr StringRule placeRule{.maxLength = 10};
#if FAULT == 6  // a rule on a field of another type
  static constexpr StringRule priceRule{.maxLength = 10};
  static constexpr models::FieldRule rules[] = {{CodingKeys::price, priceRule}};
#elif FAULT == 10  // two rules that changed places
  static constexpr models::FieldRule rules[] = {{CodingKeys::number, placeRule},
                                                {CodingKeys::place, numberRule}};
#elif FAULT == 15  // a rule said twice
  static constexpr models::FieldRule rules[] = {{CodingKeys::place, placeRule},
                                                {CodingKeys::place, placeRule}};
#else
  static constexpr models::FieldRule rules[] = {{CodingKeys::number, numberRule},
                                                {CodingKeys::place, placeRule}};
#endif

#if FAULT != 14  // nobody tells of an unknown class
  bool containsUnknownDefaultOpenApiCase() const;
#endif
  bool operator==(const Ticket&) const = default;
};

#if FAULT == 16  // more members than can be told apart
struct Large {
  std::optional<bool> a = {}, b = {}, c = {}, d = {}, e = {}, f = {}, g = {}, h = {}, i = {}, j = {}, k = {},
                      l = {}, m = {}, n = {}, o = {}, p = {}, q = {};
  enum class CodingKeys { a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q };
};
#endif

}  // namespace test

#if FAULT == 7  // a key that two fields share
template <>
inline constexpr std::array json::renamedCases<test::Ticket::CodingKeys>{
    std::pair{test::Ticket::CodingKeys::price, std::string_view("place")}};
#endif

template <>
#if FAULT == 13  // unknown texts would be refused
struct RawTexts<test::Class> {
#else
struct RawTexts<test::Class> : models::OpenRawTexts<test::Class> {
#endif
  using enum test::Class;
#if FAULT == 13
  static constexpr std::array table{std::pair(first, std::string_view("1")),
                                    std::pair(second, std::string_view("2")),
                                    std::pair(unknownDefaultOpenApi, std::string_view("unknown"))};
#elif FAULT == 8   // a case without a text
  static constexpr std::array table{row(first, "1"), fallbackRow};
#elif FAULT == 9   // in another order
static constexpr std::array table{row(second, "2"), row(first, "1"), fallbackRow};
#elif FAULT == 12  // two cases of one text
static constexpr std::array table{row(first, "1"), row(second, "1"), fallbackRow};
#else
static constexpr std::array table{row(first, "1"), row(second, "2"), fallbackRow};
#endif
};

template struct json::Described<test::Ticket>;
#if FAULT == 16
template struct json::Described<test::Large>;
#endif
template models::RecordType models::detail::describe<test::Ticket>();
template auto models::detail::describeCases<test::Class>();

}  // namespace tilvanego
