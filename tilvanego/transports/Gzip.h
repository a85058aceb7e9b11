#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>

#include <tilvanego/payment/PaymentError.h>
#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/Support.h>

/// Compression by gzip (RFC 1952). Any thread may call these. The memory that zlib needs, about 270 KB for
/// compression and 40 KB for decompression, is kept by the thread for the next time, with parts of the last
/// texts in it. Nothing else that these make and don't give is left in freed memory.
namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// How much output each step makes room for.
inline constexpr std::size_t gzipChunk = 16'384;

/// Fails with `urlPayloadInvalid`: it is the payload that can't be sent.
[[nodiscard]] std::expected<Bytes, PaymentError> gzipCompress(std::span<const std::uint8_t> bytes);

/// Wipes what the other two keep in this thread.
void wipeGzipMemory();

/// Reads a gzip or zlib stream; bytes behind its end are ignored. Fails with `urlPayloadTooLarge` as soon as
/// there are more than `limit` bytes of output, of which at most `gzipChunk` more have then been made; with
/// `urlPayloadDecompressionFailed` for a stream that is damaged or cut off. Room for `expectedSize` bytes, as
/// far as the limit allows, is taken at once.
[[nodiscard]] std::expected<std::string, PaymentError> gzipDecompress(std::span<const std::uint8_t> bytes,
                                                                      std::size_t limit,
                                                                      std::size_t expectedSize = 0);

}  // namespace support
}  // namespace tilvanego
