#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>

#include <tilvanego/payment/PaymentError.h>
#include <tilvanego/values/Bytes.h>

/// Compression by gzip (RFC 1952). Any thread may call these.
namespace tilvanego::detail {

/// How much output each step makes room for.
inline constexpr std::size_t gzipChunk = 16'384;

/// Fails with `urlPayloadInvalid`: it is the payload that can't be sent.
///
/// The memory that zlib needs for this, about 270 KB, is kept by the thread for the next time, with parts of
/// `bytes` in it.
[[nodiscard]] std::expected<Bytes, PaymentError> gzipCompress(std::span<const std::uint8_t> bytes);

/// Wipes what `gzipCompress` keeps in this thread.
void wipeGzipMemory();

/// Reads a gzip or zlib stream; bytes behind its end are ignored. Fails with `urlPayloadTooLarge` as soon as
/// there are more than `limit` bytes of output, of which at most `gzipChunk` more have then been made; with
/// `urlPayloadDecompressionFailed` for a stream that is damaged or cut off.
[[nodiscard]] std::expected<std::string, PaymentError> gzipDecompress(std::span<const std::uint8_t> bytes,
                                                                      std::size_t limit);

}  // namespace tilvanego::detail
