#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>

#include <tilvanego/payment/PaymentError.h>
#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/Support.h>

/// Compression by gzip (RFC 1952). Any thread may call these functions. Each thread keeps zlib's memory for
/// the next call: about 270 KB for compression and 40 KB for decompression. This memory holds parts of the
/// last texts until `wipeGzipMemory` or the end of the thread. No part of a text stays in any other memory
/// but the returned buffer.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// The size of the buffer for one step of output, in bytes.
inline constexpr std::size_t gzipChunk = 16'384;

/// Fails with `urlPayloadInvalid` if zlib fails.
[[nodiscard]] std::expected<Bytes, PaymentError> gzipCompress(std::span<const std::uint8_t> bytes);

/// Wipes the memory that this thread keeps for the other two functions.
void wipeGzipMemory();

/// Decompresses a gzip or zlib stream; bytes after its end are ignored. Fails with `urlPayloadTooLarge` as
/// soon as the output has more than `limit` bytes; it then has at most `gzipChunk` bytes more. Fails with
/// `urlPayloadDecompressionFailed` for a stream that is damaged or cut off. `expectedSize` bytes, but at most
/// `limit`, are reserved at the beginning.
[[nodiscard]] std::expected<std::string, PaymentError> gzipDecompress(std::span<const std::uint8_t> bytes,
                                                                      std::size_t limit,
                                                                      std::size_t expectedSize = 0);

}  // namespace support
}  // namespace tilvanego
