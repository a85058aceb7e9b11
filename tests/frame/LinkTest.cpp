#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/RecordFields.h>

#include "tests/support/Test.h"

namespace tilvanego::detail {
namespace {

// The compilers write brackets and semicolons into the names of such types.
template <typename Key>
struct Row {
  int quantity;
  int price;
  static constexpr std::size_t fieldCount = 2;
};
template <char>
struct Marked {};
static_assert(fieldName<Row<char[4]>, 0> == "quantity" && fieldName<Row<char[4]>, 1> == "price");
static_assert(fieldName<Row<Marked<';'>>, 1> == "price" && fieldName<Row<Marked<']'>>, 1> == "price");

TEST(RedactedURLText, HidesTheSecretItemsAlone) {
  using Case = std::pair<std::string_view, std::string_view>;
  for (const auto& [url, shown] :
       {Case{"a://b?basic_token=abc&x=1", "a://b?basic_token=%3Credacted%3E&x=1"},
        Case{"a://b?BASIC_TOKEN=abc", "a://b?BASIC_TOKEN=%3Credacted%3E"},
        Case{"a://b?basicToken=a&PayLoad=b", "a://b?basicToken=%3Credacted%3E&PayLoad=%3Credacted%3E"},
        Case{"a://b?b%61sic_token=abc", "a://b?basic_token=%3Credacted%3E"},
        Case{"a://b?basic_token&payload=", "a://b?basic_token=%3Credacted%3E&payload=%3Credacted%3E"},
        Case{"a://b?xbasic_token=abc&notes=n", "a://b?xbasic_token=abc&notes=n"},
        Case{"a://u:p@b:80/p%20q#f?payload=x", "a://u:p@b:80/p%20q#f?payload=x"},
        Case{"a://b?payload=x#f", "a://b?payload=%3Credacted%3E#f"}, Case{"a://b?", "a://b?"},
        Case{"a://b?x=%7e%41&&y", "a://b?x=~A&&y"}, Case{"rel?payload=1", "rel?payload=%3Credacted%3E"}}) {
    EXPECT_EQ(redactedURLText(URL::parse(url).value()), shown);
  }
  EXPECT_EQ(redactedURLText(std::nullopt), "url is empty!");
  EXPECT_EQ(redactedPayloadURL(std::nullopt), "url is empty!");
  EXPECT_EQ(redactedPayloadURL(URL::parse("a://b?PayLoad=x&payload&basic_token=t").value()),
            "a://b?PayLoad=%3Credacted%3E&payload=%3Credacted%3E&basic_token=t");
}

}  // namespace
}  // namespace tilvanego::detail
