#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/values/LinkWriter.h>
#include <tilvanego/values/URL.h>

#include "tests/support/AllocationCount.h"
#include "tests/support/Test.h"

namespace tilvanego {
namespace {

using test::allocationsOf;

const std::string callback =
    "myshop://done/callback?status=approved&message=Thank%20you&transaction_id=tx-0123456789";

TEST(Allocations, ParsingAURLAllocatesItsTextAlone) {
  EXPECT_EQ(allocationsOf([] { EXPECT_TRUE(URL::parse(callback).has_value()); }), 1U);
  std::string given = callback;
  const char* const buffer = given.data();
  EXPECT_EQ(allocationsOf([&] {
              const auto url = URL::parse(std::move(given));
              EXPECT_EQ(url->absoluteString().data(), buffer);
            }),
            0U);
}

TEST(Allocations, WalkingRawItemsAndMatchingPlainURLsAllocateNothing) {
  const auto url = URL::parse(callback);
  const auto place = URL::parse("MyShop://DONE/callback");
  std::size_t items = 0;
  EXPECT_EQ(allocationsOf([&] {
              for (const RawQueryItem& item : url->rawQueryItems()) items += item.value ? 1U : 0U;
              EXPECT_TRUE(detail::callbackURLsMatch(*url, *place));
            }),
            0U);
  EXPECT_EQ(items, 3U);
}

TEST(Allocations, ALinkOfAnyLengthIsOneAllocation) {
  for (const std::size_t length : {300U, 3'000U}) {
    const std::string notes(length, '&');
    EXPECT_EQ(allocationsOf([&] {
                const LinkItem item{"notes", notes};
                const auto link = writeLink(LinkTarget("tilvanego", "payment", "/v1/start"), {&item, 1});
                EXPECT_EQ(link->absoluteString().size(), 28 + 7 + 3 * length);
              }),
              1U);
  }
}

}  // namespace
}  // namespace tilvanego
