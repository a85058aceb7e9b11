#include <tilvanego/json/JSON.h>
#include <tilvanego/vocabulary/SharedEnumerations.h>

#include "tests/support/Test.h"

namespace tilvanego::models {
namespace {

template <typename Enumeration>
class SharedEnumeration : public testing::Test {};
using Kinds = testing::Types<Status, ResponseEntryMode, CardBrand>;
TYPED_TEST_SUITE(SharedEnumeration, Kinds, );

TYPED_TEST(SharedEnumeration, TakesUnknownTextsForItsLastCase) {
  constexpr auto unknown = TypeParam::unknownDefaultOpenApi;
  for (const std::string_view text :
       {"approved", "Contact", "AMEX", "OTHER", "", " ", "unknown_default_open_api"}) {
    EXPECT_EQ(json::decode<TypeParam>("\"" + std::string(text) + "\"").value(), unknown) << text;
  }
  EXPECT_EQ(fromRawText<TypeParam>("AMEX"), std::nullopt);
  for (const TypeParam value : allCases<TypeParam>()) {
    EXPECT_EQ(json::decode<TypeParam>(json::encode(value).value()).value(), value);
    EXPECT_EQ(containsUnknownDefaultOpenApiCase(value), value == unknown);
  }
}

}  // namespace
}  // namespace tilvanego::models
