#include <tilvanego/values/UUID.h>

#include "tests/support/Test.h"
#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

std::optional<std::string> readAndWritten(std::string_view text) {
  return UUID::parse(text).transform([](const UUID& uuid) { return uuid.text(); });
}

TEST(UUID, ReadsTextAsThePlatformDoes) {
  for (const auto& c : test::vectorCases("uuids.json", 5)) {
    EXPECT_EQ(readAndWritten(c["text"].text()), c["value"].optionalText()) << c["text"].text();
  }
}

TEST(UUID, IsWrittenInCapitalsWhateverItWasReadFrom) {
  EXPECT_EQ(readAndWritten("123e4567-e89B-12d3-A456-42661417abcd"), "123E4567-E89B-12D3-A456-42661417ABCD");
}

TEST(UUID, RefusesMisplacedHyphensSignsAndLengths) {
  for (const auto text : {"", "123e4567e-89b-12d3-a456-426614174000", "123e4567-e89b-12d3-a456-4266141740000",
                          "123e4567-e89b-12d3-a456-42661417-000", "+23e4567-e89b-12d3-a456-426614174000",
                          "0x3e4567-e89b-12d3-a456-426614174000", "123e4567 e89b 12d3 a456 426614174000"}) {
    EXPECT_EQ(readAndWritten(text), std::nullopt) << text;
  }
}

TEST(UUID, MarksRandomBytesAsVersionFour) {
  UUID::Octets ones;
  ones.fill(0xFF);
  EXPECT_EQ(UUID::fromRandomBytes(ones).text(), "FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF");
  EXPECT_EQ(UUID::fromRandomBytes({}).text(), "00000000-0000-4000-8000-000000000000");
}

}  // namespace
}  // namespace tilvanego
