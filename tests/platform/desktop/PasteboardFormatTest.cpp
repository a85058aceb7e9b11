#include <span>

#include <tilvanego/platform/desktop/PasteboardFormat.h>

#include "tests/platform/Dates.h"
#include "tests/support/Test.h"

using namespace tilvanego;
using tilvanego::detail::decodePasteboard;
using tilvanego::detail::encodePasteboard;
using tilvanego::test::seconds;

namespace {

const PasteboardContents handoff{
    .items = {{{"public.plain-text", "{\"a\":1}"}, {"public.utf8-plain-text", "größe"}, {"x", Bytes{0, 255}}},
              {}},
    .options = {.localOnly = true, .expirationDate = seconds(1750000000.25)}};

PasteboardContents manyItems(std::size_t items, std::size_t valuesOfTheFirst) {
  PasteboardContents contents;
  contents.items.resize(items);
  for (std::size_t value = 0; value < valuesOfTheFirst; ++value) {
    contents.items.front().emplace(std::to_string(value), "");
  }
  return contents;
}

}  // namespace

TEST(PasteboardFormat, GivesBackWhatItWasGiven) {
  for (const auto& contents :
       {PasteboardContents{}, handoff, PasteboardContents{{{{"", ""}}}, {}},
        PasteboardContents{{{{std::string("a\0b", 3), std::string("\0", 1)}}}, {false, seconds(-0.5)}},
        PasteboardContents{{{{"a", "x"}, {"b", "x"}, {"c", Bytes{'x'}}, {"d", "x"}}, {{"a", "x"}}}, {}},
        manyItems(detail::maximumPasteboardEntries, detail::maximumPasteboardEntries)}) {
    const auto file = encodePasteboard(contents);
    ASSERT_TRUE(file);
    EXPECT_EQ(decodePasteboard(*file), contents);
  }
}

TEST(PasteboardFormat, WritesNothingThatItWouldNotRead) {
  const double infinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const auto& contents :
       {PasteboardContents{{{{"t", "\xFF"}}}, {}}, PasteboardContents{{{{"\xC3", "x"}}}, {}},
        PasteboardContents{{}, {false, seconds(infinity)}}, PasteboardContents{{}, {false, seconds(nan)}},
        manyItems(detail::maximumPasteboardEntries + 1, 0),
        manyItems(1, detail::maximumPasteboardEntries + 1)}) {
    EXPECT_FALSE(encodePasteboard(contents));
  }
}

TEST(PasteboardFormat, HoldsATextUnderManyTypesOnceUpToWhatAReaderMayGrowTo) {
  PasteboardContents contents{{{{"a", ""}, {"b", ""}, {"c", ""}, {"d", ""}}}, {}};
  const auto overhead = encodePasteboard(contents)->size();
  const auto sized = [&](std::size_t size) {
    for (auto& [type, value] : contents.items[0]) value = std::string(size, 'x');
    return encodePasteboard(contents);
  };
  const auto largest = sized(detail::maximumPasteboardFile - overhead);
  ASSERT_TRUE(largest);
  EXPECT_EQ(largest->size(), detail::maximumPasteboardFile);
  EXPECT_EQ(decodePasteboard(*largest), contents);
  EXPECT_FALSE(sized(detail::maximumPasteboardFile - overhead + 1));

  // As many repetitions as there may be bytes of values, and one more.
  PasteboardContents repeated{{{}}, {}};
  const std::size_t size = detail::maximumPasteboardValues / 1024;
  for (int type = 1000; type < 2024; ++type)
    repeated.items[0].emplace(std::to_string(type), std::string(size, 'x'));
  const auto file = encodePasteboard(repeated);
  ASSERT_TRUE(file);
  EXPECT_EQ(decodePasteboard(*file), repeated);
  repeated.items[0].emplace("2024", "y");
  EXPECT_EQ(encodePasteboard(repeated).error(),
            "The values together have 67108865 bytes, and at most 67108864 fit.");
  auto body = Bytes(file->begin() + 20, file->end());
  body[5] = 1;  // One value more than those 1024.
  const Bytes more{4, 0, 0, 0, '2', '0', '2', '4', 2};
  body.insert(body.end(), more.begin(), more.end());
  auto grown = detail::pasteboardFileHeader(body);
  grown.insert(grown.end(), body.begin(), body.end());
  EXPECT_EQ(decodePasteboard(grown), std::nullopt);
}

TEST(PasteboardFormat, AFileTornAnywhereReadsAsNothing) {
  const auto file = encodePasteboard(handoff).value();
  for (std::size_t size = 0; size < file.size(); ++size) {
    EXPECT_EQ(decodePasteboard(std::span(file).first(size)), std::nullopt) << size;
  }
  auto longer = file;
  longer.push_back(0);
  EXPECT_EQ(decodePasteboard(longer), std::nullopt);
}

TEST(PasteboardFormat, AFileWithAnyBitChangedReadsAsNothing) {
  auto file = encodePasteboard(handoff).value();
  for (std::size_t bit = 0; bit < file.size() * 8; ++bit) {
    const auto mask = static_cast<std::uint8_t>(1U << (bit % 8));
    file[bit / 8] ^= mask;
    EXPECT_EQ(decodePasteboard(file), std::nullopt) << bit;
    file[bit / 8] ^= mask;
  }
}

TEST(PasteboardFormat, ABodyThatIsNotTheOneFormOfAPasteboardReadsAsNothing) {
  const Bytes count0{0, 0, 0, 0};
  const Bytes count1{1, 0, 0, 0};
  const Bytes count2{2, 0, 0, 0};
  const Bytes typeA{1, 0, 0, 0, 'a'};
  const Bytes typeB{1, 0, 0, 0, 'b'};
  const Bytes text{0, 1, 0, 0, 0, 'x'};
  const Bytes other{0, 1, 0, 0, 0, 'y'};
  for (const auto& [what, parts, readable] :
       std::vector<std::tuple<std::string_view, std::vector<Bytes>, bool>>{
           {"nothing but flags and no item", {{0}, count0}, true},
           {"two values in order", {{0}, count1, count2, typeA, text, typeB, other}, true},
           {"an unknown flag", {{4}, count0}, false},
           {"a date announced and missing", {{2}, count0}, false},
           {"a date that isn't finite", {{2}, {0, 0, 0, 0, 0, 0, 0xF0, 0x7F}, count0}, false},
           {"values out of order", {{0}, count1, count2, typeB, text, typeA, other}, false},
           {"a type twice", {{0}, count1, count2, typeA, text, typeA, other}, false},
           {"a value repeated", {{0}, count1, count2, typeA, text, typeB, {2}}, true},
           {"a value repeated in full", {{0}, count1, count2, typeA, text, typeB, text}, false},
           {"a first value repeated", {{0}, count1, count1, typeA, {2}}, false},
           {"an unknown kind", {{0}, count1, count1, typeA, {3, 0, 0, 0, 0}}, false},
           {"text that isn't UTF-8", {{0}, count1, count1, typeA, {0, 1, 0, 0, 0, 0xFF}}, false},
           {"a type that isn't UTF-8", {{0}, count1, count1, {1, 0, 0, 0, 0xFF}, text}, false},
           {"a length beyond the end", {{0}, count1, count1, typeA, {0, 0xFF, 0xFF, 0xFF, 0xFF, 'x'}}, false},
           {"more items than there are", {{0}, count2, count0}, false},
           {"absurdly many items", {{0}, {0xFF, 0xFF, 0xFF, 0xFF}}, false},
           {"absurdly many values", {{0}, count1, {0xFF, 0xFF, 0xFF, 0xFF}}, false},
           {"something after the end", {{0}, count0, {0}}, false},
       }) {
    Bytes body;
    for (const auto& part : parts) body.insert(body.end(), part.begin(), part.end());
    auto file = detail::pasteboardFileHeader(body);
    file.insert(file.end(), body.begin(), body.end());
    const auto contents = decodePasteboard(file);
    EXPECT_EQ(contents.has_value(), readable) << what;
    if (contents) {
      EXPECT_EQ(encodePasteboard(*contents), file) << what;
    }
  }
}
