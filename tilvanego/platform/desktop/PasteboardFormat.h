#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>

#include <tilvanego/platform/Pasteboard.h>

namespace tilvanego::detail {

/// The largest file that is written or read, in bytes.
inline constexpr std::size_t maximumPasteboardFile = std::size_t{16} << 20U;
/// The most items of a file, and the most values of all its items together.
inline constexpr std::size_t maximumPasteboardEntries = 4096;
/// Bytes of all values together, each counted as often as an item has it: what a small file can grow to.
inline constexpr std::size_t maximumPasteboardValues = 4 * maximumPasteboardFile;

/// What stands before a body in a file: its length and checksum among it.
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
/// Fails, by a sentence that shows nothing of the contents, for what a reader would refuse: more than the
/// limits above, a text that isn't UTF-8, a date that isn't finite.
[[nodiscard]] std::expected<Bytes, std::string> encodePasteboard(const PasteboardContents& contents);

/// Reads such a file. No value for anything that `encodePasteboard` wouldn't have written, so that a file
/// that is torn, foreign or made up gives nothing; each pasteboard has exactly one form.
[[nodiscard]] std::optional<PasteboardContents> decodePasteboard(std::span<const std::uint8_t> file);

}  // namespace tilvanego::detail
