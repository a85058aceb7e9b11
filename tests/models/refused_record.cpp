// Compiled, but never run: each FAULT is a mistake in the declaration of a record that must not compile.
// Without one, all must.
#include <tilvanego/json/DescribedRecord.h>
#include <tilvanego/models/CatalogueEntries.h>
#include <tilvanego/models/SharedEnumerations.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#ifndef FAULT
#define FAULT 0
#endif

namespace tilvanego {
namespace test {

struct Ticket {
  std::string number;
  std::optional<std::string> place = {};
  std::optional<std::int64_t> price = {};

#if FAULT == 1  // a field forgotten
  enum class CodingKeys { number, place };
#elif FAULT == 2  // one too many
  enum class CodingKeys { number, place, price, row };
#elif FAULT == 3  // in another order
  enum class CodingKeys { place, number, price };
#elif FAULT == 4  // of another name
  enum class CodingKeys { number, spot, price };
#elif FAULT == 5  // twice
  enum class CodingKeys { number, place, place };
#else
  enum class CodingKeys { number, place, price };
#endif

  static constexpr StringRule placeRule{.maxLength = 10};
#if FAULT == 6  // a rule on a field of another type
  static constexpr models::FieldRule rules[] = {{CodingKeys::price, placeRule}};
#elif FAULT != 4 && FAULT != 5
  static constexpr models::FieldRule rules[] = {{CodingKeys::place, placeRule}};
#endif

  bool operator==(const Ticket&) const = default;
};

enum class Class { first, second, unknownDefaultOpenApi };

}  // namespace test

#if FAULT == 7  // a key that two fields share
template <>
struct RawTexts<test::Ticket::CodingKeys> {
  static constexpr auto table = json::caseNamesBut(test::Ticket::CodingKeys::price, "place");
};
#endif

template <>
struct RawTexts<test::Class> : models::OpenRawTexts<test::Class> {
  using enum test::Class;
#if FAULT == 8  // a case without a text
  static constexpr std::array table{row(first, "1"), fallbackRow};
#elif FAULT == 9  // in another order
  static constexpr std::array table{row(second, "2"), row(first, "1"), fallbackRow};
#else
  static constexpr std::array table{row(first, "1"), row(second, "2"), fallbackRow};
#endif
};

template struct json::Described<test::Ticket>;
template models::RecordType models::detail::describe<test::Ticket>();
template auto models::detail::describeCases<test::Class>();

}  // namespace tilvanego
