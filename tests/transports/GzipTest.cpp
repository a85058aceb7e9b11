#include <new>
#include <thread>

#include <tilvanego/transports/Gzip.h>
#include <tilvanego/values/Base64.h>

#include "tests/support/AllocationCount.h"
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

// zlib is C: an exception that passed through it would leave its state allocated, and what it wrote unwiped.
TEST(Gzip, WithoutMemoryFailsByAValueInsideZlibAndByAnExceptionOutside) {
  const std::string text = noise(100'000);
  const Bytes stream = gzipCompress(bytesOf(text)).value();
  const auto failEachAllocation = [](std::string_view failure, const auto& call) {
    SCOPED_TRACE(failure);
    std::size_t failures = 0;
    std::size_t exceptions = 0;
    std::vector<std::size_t> kept;
    bool hasFailed = true;
    while (hasFailed) {
      // A fresh thread keeps no memory for zlib yet.
      std::thread([&] {
        const std::size_t before = test::liveBytes();
        test::failAllocation(kept.size() + 1);
        try {
          const auto result = call();
          hasFailed = test::failAllocation(0) == 0;
          EXPECT_EQ(result ? "" : result.error().name(), hasFailed ? failure : "");
          failures += hasFailed ? 1 : 0;
        } catch (const std::bad_alloc&) {
          ++exceptions;
        }
        EXPECT_TRUE(call()) << "once there is memory again";
        kept.push_back(test::liveBytes() - before);
      }).join();
    }
    EXPECT_GT(failures, 1U);
    EXPECT_EQ(exceptions, 1U) << "the result's buffer";
    // Less than the smallest state of zlib; the system rounds each block.
    for (const std::size_t size : kept) EXPECT_LT(size, kept.back() + 2048) << "a failure leaves no state";
  };
  failEachAllocation("urlPayloadInvalid", [&] { return gzipCompress(bytesOf(text)); });
  failEachAllocation("urlPayloadDecompressionFailed",
                     [&] { return gzipDecompress(stream, noLimit, text.size()); });
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
