#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>

#include <tilvanego/platform/Pasteboard.h>

namespace tilvanego::detail {

/// The maximum size of a file that is written or read, in bytes.
inline constexpr std::size_t maximumPasteboardFile = std::size_t{16} << 20U;
/// The maximum number of items of a file, and of the values of all its items together.
inline constexpr std::size_t maximumPasteboardEntries = 4096;
/// The maximum size of all values together, in bytes. A repeated value counts each time, since a small file
/// may hold many of them.
inline constexpr std::size_t maximumPasteboardValues = 4 * maximumPasteboardFile;

/// Returns the header of a file, with the length and the checksum of its body.
[[nodiscard]] Bytes pasteboardFileHeader(std::span<const std::uint8_t> body);

/// Writes a pasteboard as the bytes of a file. Integers are little-endian, a text or byte string is its
/// length (u32) and its bytes.
///
/// ```text
/// "TVGPASTE"  version (u32, 2)  length of the body (u32)  CRC-32 of the body (u32)  body
/// body: flags (u8: 1 local only, 2 expiration date)  [seconds since 1970 (IEEE 754 double)]
///       number of items (u32), then each: number of values (u32), then each, ascending by type name:
///           type name  kind (u8: 0 text, 1 bytes, 2 the value before this one in the item)
///           value, unless it is the one before
/// ```
///
/// Fails for contents that a reader would refuse: beyond the limits above, a text that is not UTF-8, a date
/// that is not finite. The error is a sentence that shows nothing of the contents.
[[nodiscard]] std::expected<Bytes, std::string> encodePasteboard(const PasteboardContents& contents);

/// Reads such a file. Each pasteboard has exactly one form as a file. Returns no value for any file that
/// `encodePasteboard` would not write, such as an incomplete or forged one.
[[nodiscard]] std::optional<PasteboardContents> decodePasteboard(std::span<const std::uint8_t> file);

}  // namespace tilvanego::detail
