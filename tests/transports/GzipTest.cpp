#include <tilvanego/transports/Gzip.h>
#include <tilvanego/values/Base64.h>

#include "tests/support/AllocationCount.h"
#include "tests/support/Test.h"
#include "tests/support/VectorFile.h"
#include "tests/transports/Payments.h"

namespace tilvanego::detail {
namespace {

using test::noise;

constexpr std::size_t noLimit = 1 << 20;

std::span<const std::uint8_t> bytesOf(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(Gzip, ReadsWhatAnotherImplementationWritesAndRefusesTheRest) {
  for (const auto& one : test::vectorCases("transports/gzip.json", 17)) {
    const auto text = gzipDecompress(base64Decode(one["stream"].text()).value(), noLimit);
    if (one["text"].isNull()) {
      ASSERT_FALSE(text) << one["name"].text();
      EXPECT_EQ(text.error().name(), "urlPayloadDecompressionFailed") << one["name"].text();
    } else {
      EXPECT_TRUE(text && *text == one["text"].text()) << one["name"].text();
    }
  }
}

TEST(Gzip, GivesBackWhatItCompressedAcrossChunks) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, gzipChunk - 1, gzipChunk, gzipChunk + 1,
                                 3 * gzipChunk, maxPayloadJSON}) {
    for (const std::string& text : {noise(size), std::string(size, 'a')}) {
      const auto stream = gzipCompress(bytesOf(text));
      ASSERT_TRUE(stream) << size;
      EXPECT_EQ((*stream)[0], 0x1f);
      EXPECT_EQ((*stream)[1], 0x8b);
      EXPECT_EQ(gzipDecompress(*stream, size), text) << "exactly the limit passes: " << size;
      if (size == 0) continue;
      const auto over = gzipDecompress(*stream, size - 1);
      EXPECT_TRUE(!over && over.error().name() == "urlPayloadTooLarge") << size;
    }
    wipeGzipMemory();
  }
}

TEST(Gzip, StopsABombOneChunkBeyondTheLimitAtMost) {
  const auto stream = gzipCompress(bytesOf(std::string(50'000'000, '\0')));
  ASSERT_TRUE(stream && stream->size() <= maxPayloadGzip);
  for (const std::size_t limit : {std::size_t{0}, gzipChunk, maxPayloadJSON}) {
    const std::size_t before = test::allocatedBytes();
    EXPECT_FALSE(gzipDecompress(*stream, limit));
    // The output's buffer grows by doubling: four times its last size bounds all of its buffers together.
    EXPECT_LE(test::allocatedBytes() - before, 4 * (limit + gzipChunk)) << limit;
  }
}

TEST(CompressedPayload, TakesJSONOfExactlyTheLimitAndNotOneByteMore) {
  const auto largest = compressPayloadJSON(std::string(262'144, 'a'));
  ASSERT_TRUE(largest);
  EXPECT_EQ(largest->jsonSize, 262'144U);
  const auto over = compressPayloadJSON(std::string(262'145, 'a'));
  ASSERT_FALSE(over);
  EXPECT_EQ(over.error().name(), "urlPayloadTooLarge");
}

TEST(CompressedPayload, TakesAStreamOfExactlyTheLimitAndNotOneByteMore) {
  const std::string text = noise(100'000);
  const auto sizeOf = [&](std::size_t length) {
    return gzipCompress(bytesOf(text.substr(0, length))).value().size();
  };
  // The shortest text whose stream has more than the limit, and the one before it.
  std::size_t low = 50'000;
  std::size_t high = text.size();
  while (high - low > 1) (sizeOf((low + high) / 2) > 65'536 ? high : low) = (low + high) / 2;
  while (sizeOf(low) != 65'536 && low > 50'000) --low;
  while (sizeOf(high) != 65'537 && high < text.size()) ++high;
  ASSERT_EQ(sizeOf(low), 65'536U);
  ASSERT_EQ(sizeOf(high), 65'537U);
  EXPECT_TRUE(compressPayloadJSON(text.substr(0, low)));
  const auto over = compressPayloadJSON(text.substr(0, high));
  EXPECT_TRUE(!over && over.error().name() == "urlPayloadTooLarge");
}

}  // namespace
}  // namespace tilvanego::detail
