#include <tilvanego/transports/Gzip.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include <openssl/crypto.h>
#include <zlib.h>

namespace tilvanego::detail {
namespace {

constexpr int gzipWindowBits = 15 + 16;
constexpr int gzipOrZlibWindowBits = 15 + 32;
constexpr int memoryLevel = 8;

/// zlib's memory, kept from one stream to the next: given back to the system and taken anew, its pages would
/// cost more than compressing a short request does.
class KeptMemory {
 public:
  KeptMemory() = default;
  KeptMemory(const KeptMemory&) = delete;
  KeptMemory& operator=(const KeptMemory&) = delete;
  ~KeptMemory() { wipe(); }

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
    for (const Block& block : blocks_) OPENSSL_cleanse(block.bytes.get(), block.size);
  }

  static KeptMemory& ofThread() {
    static thread_local KeptMemory one;
    return one;
  }

 private:
  struct Block {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t size;
    bool taken;
  };
  std::vector<Block> blocks_;
};

void* takeMemory(void* kept, unsigned count, unsigned size) {
  return static_cast<KeptMemory*>(kept)->take(std::size_t{count} * size);
}
void giveMemoryBack(void* kept, void* memory) { static_cast<KeptMemory*>(kept)->giveBack(memory); }

/// A zlib stream that has all of its input, and ends by `end`.
class Stream {
 public:
  explicit Stream(std::span<const std::uint8_t> input, int (*end)(z_stream*)) : end_(end) {
    // zlib doesn't write to its input; its pointer isn't const unless asked.
    zlib_.next_in = const_cast<std::uint8_t*>(input.data());
    zlib_.avail_in = static_cast<unsigned>(input.size());
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() {
    if (begun_) end_(&zlib_);
  }

  [[nodiscard]] bool beginDeflate() {
    zlib_.zalloc = takeMemory;
    zlib_.zfree = giveMemoryBack;
    zlib_.opaque = &KeptMemory::ofThread();
    begun_ = deflateInit2(&zlib_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzipWindowBits, memoryLevel,
                          Z_DEFAULT_STRATEGY) == Z_OK;
    return begun_;
  }
  [[nodiscard]] bool beginInflate() {
    begun_ = inflateInit2(&zlib_, gzipOrZlibWindowBits) == Z_OK;
    return begun_;
  }

  /// One step of `work` into a chunk of room behind `output`. Gives zlib's result.
  template <class Output>
  int step(Output& output, int (*work)(z_stream*, int), int flush) {
    const std::size_t before = output.size();
    output.resize(before + gzipChunk);
    zlib_.next_out = reinterpret_cast<std::uint8_t*>(output.data()) + before;
    zlib_.avail_out = gzipChunk;
    const int result = work(&zlib_, flush);
    output.resize(before + gzipChunk - zlib_.avail_out);
    return result;
  }

 private:
  z_stream zlib_{};
  int (*end_)(z_stream*);
  bool begun_ = false;
};

/// zlib counts its input in an `unsigned`.
bool fits(std::span<const std::uint8_t> bytes) { return std::in_range<unsigned>(bytes.size()); }

}  // namespace

std::expected<Bytes, PaymentError> gzipCompress(std::span<const std::uint8_t> bytes) {
  const auto failure = [] { return std::unexpected(PaymentError::UrlPayloadInvalid{}); };
  Stream stream(bytes, deflateEnd);
  if (!fits(bytes) || !stream.beginDeflate()) return failure();
  Bytes output;
  int result = Z_OK;
  while (result == Z_OK) result = stream.step(output, deflate, Z_FINISH);
  if (result != Z_STREAM_END) return failure();
  return output;
}

void wipeGzipMemory() { KeptMemory::ofThread().wipe(); }

std::expected<std::string, PaymentError> gzipDecompress(std::span<const std::uint8_t> bytes,
                                                        std::size_t limit) {
  const auto failure = [] { return std::unexpected(PaymentError::UrlPayloadDecompressionFailed{}); };
  Stream stream(bytes, inflateEnd);
  if (!fits(bytes) || !stream.beginInflate()) return failure();
  std::string output;
  int result = Z_OK;
  while (result == Z_OK) {
    result = stream.step(output, inflate, Z_NO_FLUSH);
    if (output.size() > limit) return std::unexpected(PaymentError::UrlPayloadTooLarge{});
  }
  if (result != Z_STREAM_END) return failure();
  return output;
}

}  // namespace tilvanego::detail
