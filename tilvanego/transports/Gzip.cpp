#include <tilvanego/transports/Gzip.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <tuple>
#include <utility>
#include <vector>

#include <zlib.h>

#include <tilvanego/values/Wiping.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {
namespace {

constexpr int gzipWindowBits = 15 + 16;
constexpr int gzipOrZlibWindowBits = 15 + 32;
constexpr int memoryLevel = 8;

/// The memory of zlib. It stays allocated until the destructor, for the next text; `wipe` overwrites all of
/// it.
class KeptMemory {
 public:
  void* take(std::size_t size) {
    auto found =
        std::ranges::find_if(blocks_, [&](const Block& one) { return !one.taken && one.size == size; });
    if (found == blocks_.end()) {
      found = blocks_.insert(found,
                             {.bytes = std::make_unique<std::uint8_t[]>(size), .size = size, .taken = false});
    }
    found->taken = true;
    return found->bytes.get();
  }
  void giveBack(const void* bytes) {
    std::ranges::find_if(blocks_, [&](const Block& one) { return one.bytes.get() == bytes; })->taken = false;
  }
  void wipe() {
    for (const Block& block : blocks_) support::wipe(block.bytes.get(), block.size);
  }

 private:
  struct Block {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t size;
    bool taken;
  };
  std::vector<Block> blocks_;
};

/// Returns null without memory: no exception may pass through zlib, which is C.
void* takeMemory(void* kept, unsigned count, unsigned size) noexcept {
  try {
    return static_cast<KeptMemory*>(kept)->take(std::size_t{count} * size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void giveMemoryBack(void* kept, void* memory) noexcept { static_cast<KeptMemory*>(kept)->giveBack(memory); }

/// Runs one step of `work` that writes at most `gzipChunk` bytes to `to`. Returns zlib's result and the
/// number of bytes written.
std::pair<int, std::size_t> step(z_stream& stream, int (*work)(z_stream*, int), int flush, std::uint8_t* to) {
  stream.next_out = to;
  stream.avail_out = gzipChunk;
  const int result = work(&stream, flush);
  return {result, gzipChunk - stream.avail_out};
}

struct Deflating {
  static int init(z_stream& stream) {
    return deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzipWindowBits, memoryLevel,
                        Z_DEFAULT_STRATEGY);
  }
  static int reset(z_stream& stream) { return deflateReset(&stream); }
  static void end(z_stream& stream) { deflateEnd(&stream); }
};

struct Inflating {
  static int init(z_stream& stream) { return inflateInit2(&stream, gzipOrZlibWindowBits); }
  static int reset(z_stream& stream) { return inflateReset(&stream); }
  static void end(z_stream& stream) { inflateEnd(&stream); }
};

/// A thread's stream of one kind. It is kept between texts: for a short text, allocating its memory takes
/// longer than the compression.
template <typename Kind>
class KeptStream {
 public:
  KeptStream() {
    zlib_.zalloc = takeMemory;
    zlib_.zfree = giveMemoryBack;
    zlib_.opaque = &memory_;
  }
  KeptStream(const KeptStream&) = delete;
  KeptStream& operator=(const KeptStream&) = delete;
  ~KeptStream() { wipe(); }

  /// Resets the stream and sets its input. Returns null if zlib fails.
  z_stream* begin(std::span<const std::uint8_t> input) {
    // zlib stores the size of its input as `unsigned`.
    if (!std::in_range<unsigned>(input.size())) return nullptr;
    if (begun_ && Kind::reset(zlib_) != Z_OK) wipe();
    if (!begun_) begun_ = Kind::init(zlib_) == Z_OK;
    if (!begun_) return nullptr;
    // zlib doesn't write to its input. Its pointer is only const if ZLIB_CONST is defined.
    zlib_.next_in = const_cast<std::uint8_t*>(input.data());
    zlib_.avail_in = static_cast<unsigned>(input.size());
    return &zlib_;
  }
  void wipe() {
    if (begun_) Kind::end(zlib_);
    begun_ = false;
    memory_.wipe();
  }

  static KeptStream& ofThread() {
    static thread_local KeptStream one;
    return one;
  }

 private:
  KeptMemory memory_;
  z_stream zlib_{};
  bool begun_ = false;
};

}  // namespace

std::expected<Bytes, PaymentError> gzipCompress(std::span<const std::uint8_t> bytes) {
  const auto failure = [] { return std::unexpected(PaymentError::UrlPayloadInvalid{}); };
  z_stream* const stream = KeptStream<Deflating>::ofThread().begin(bytes);
  if (stream == nullptr) return failure();
  // Reserves the maximum: a vector that grows would leave a copy of its bytes in freed memory.
  Bytes output;
  output.reserve(deflateBound(stream, static_cast<uLong>(bytes.size())));
  std::array<std::uint8_t, gzipChunk> chunk;
  int result = Z_OK;
  while (result == Z_OK) {
    std::size_t made = 0;
    std::tie(result, made) = step(*stream, deflate, Z_FINISH, chunk.data());
    output.insert(output.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(made));
    support::wipe(chunk.data(), made);
  }
  if (result == Z_STREAM_END) return output;
  wipe(output);
  return failure();
}

void wipeGzipMemory() {
  KeptStream<Deflating>::ofThread().wipe();
  KeptStream<Inflating>::ofThread().wipe();
}

std::expected<std::string, PaymentError> gzipDecompress(std::span<const std::uint8_t> bytes,
                                                        std::size_t limit, std::size_t expectedSize) {
  const auto failure = [] { return std::unexpected(PaymentError::UrlPayloadDecompressionFailed{}); };
  z_stream* const stream = KeptStream<Inflating>::ofThread().begin(bytes);
  if (stream == nullptr) return failure();
  std::string output;
  output.reserve(std::min(expectedSize, limit) + gzipChunk);
  int result = Z_OK;
  while (result == Z_OK) {
    makeRoom(output, gzipChunk);
    const std::size_t before = output.size();
    output.resize_and_overwrite(before + gzipChunk, [&](char* text, std::size_t) {
      std::size_t made = 0;
      std::tie(result, made) =
          step(*stream, inflate, Z_NO_FLUSH, reinterpret_cast<std::uint8_t*>(text) + before);
      return before + made;
    });
    if (output.size() > limit) {
      wipe(output);
      return std::unexpected(PaymentError::UrlPayloadTooLarge{});
    }
  }
  if (result == Z_STREAM_END) return output;
  wipe(output);
  return failure();
}

}  // namespace support
}  // namespace tilvanego
