#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>

#include <tilvanego/payment/PaymentError.h>
#include <tilvanego/values/Bytes.h>

/// Compression by gzip (RFC 1952). Any thread may call these. The memory that zlib needs, about 270 KB for
/// compression and 40 KB for decompression, is kept by the thread for the next time, with parts of the last
/// texts in it.
namespace tilvanego::detail {

/// How much output each step makes room for.
inline constexpr std::size_t gzipChunk = 16'384;

/// Fails with `urlPayloadInvalid`: it is the payload that can't be sent.
[[nodiscard]] std::expected<Bytes, PaymentError> gzipCompress(std::span<const std::uint8_t> bytes);

/// Wipes what the other two keep in this thread.
void wipeGzipMemory();

/// Appends what a gzip or zlib stream holds to `output`; bytes behind its end are ignored. Fails with
/// `urlPayloadTooLarge` as soon as `output` has more than `limit` bytes, which are then at most `gzipChunk`
/// too many; with `urlPayloadDecompressionFailed` for a stream that is damaged or cut off. What came before a
/// failure stays in `output`. Room for what will come and `gzipChunk` more, reserved, saves moving it.
[[nodiscard]] std::expected<void, PaymentError> gzipDecompress(std::span<const std::uint8_t> bytes,
                                                               std::size_t limit, std::string& output);

}  // namespace tilvanego::detail
