#include <tilvanego/platform/desktop/PasteboardFormat.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <concepts>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <zlib.h>

#include <tilvanego/values/Text.h>

namespace tilvanego::detail {
namespace {

constexpr std::string_view magic = "TVGPASTE";
constexpr std::uint32_t version = 1;
constexpr std::size_t headerSize = magic.size() + 3 * sizeof(std::uint32_t);
constexpr std::uint8_t localOnlyFlag = 1;
constexpr std::uint8_t expirationFlag = 2;
constexpr std::uint8_t textKind = 0;
constexpr std::uint8_t bytesKind = 1;

class Writer {
 public:
  template <std::unsigned_integral Integer>
  void integer(Integer value) {
    for (unsigned shift = 0; shift < 8 * sizeof value; shift += 8) {
      bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
    }
  }
  // Lengths are checked as a whole at the end: nothing near four gigabytes passes.
  void count(std::size_t value) { integer(static_cast<std::uint32_t>(value)); }
  void raw(const auto& range) { bytes_.insert(bytes_.end(), range.begin(), range.end()); }
  void block(const auto& range) {
    count(range.size());
    raw(range);
  }
  Bytes& bytes() { return bytes_; }

 private:
  Bytes bytes_;
};

// Takes values off the front of a body. After the first fault every value is zero or empty, and `failed()`
// says so.
class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  template <std::unsigned_integral Integer>
  Integer integer() {
    const auto bytes = take(sizeof(Integer));
    Integer value = 0;
    for (std::size_t index = bytes.size(); index > 0; --index) {
      value = static_cast<Integer>((std::uint64_t{value} << 8U) | bytes[index - 1]);
    }
    return value;
  }
  std::span<const std::uint8_t> block() { return take(integer<std::uint32_t>()); }
  // A count, refused above `limit`.
  std::size_t count(std::size_t limit) {
    const std::size_t value = integer<std::uint32_t>();
    if (value <= limit) return value;
    fail();
    return 0;
  }
  void fail() {
    failed_ = true;
    rest_ = {};
  }
  bool failed() const { return failed_; }
  bool atEnd() const { return rest_.empty(); }

 private:
  std::span<const std::uint8_t> take(std::size_t size) {
    if (size > rest_.size()) {
      fail();
      return {};
    }
    const auto taken = rest_.first(size);
    rest_ = rest_.subspan(size);
    return taken;
  }

  std::span<const std::uint8_t> rest_;
  bool failed_ = false;
};

bool isWritable(const PasteboardContents& contents) {
  if (contents.options.expirationDate &&
      !std::isfinite(contents.options.expirationDate->secondsSince1970())) {
    return false;
  }
  if (contents.items.size() > maximumPasteboardEntries) return false;
  std::size_t entries = 0;
  std::size_t size = 0;
  for (const auto& item : contents.items) {
    entries += item.size();
    for (const auto& [type, value] : item) {
      const auto* text = std::get_if<std::string>(&value);
      if (!isValidUTF8(type) || (text && !isValidUTF8(*text))) return false;
      size += type.size() + std::visit([](const auto& range) { return range.size(); }, value);
    }
  }
  return entries <= maximumPasteboardEntries && size <= maximumPasteboardFile;
}

void writeBody(Writer& writer, const PasteboardContents& contents) {
  const auto& [items, options] = contents;
  writer.integer(static_cast<std::uint8_t>((options.localOnly ? localOnlyFlag : 0) |
                                           (options.expirationDate ? expirationFlag : 0)));
  if (options.expirationDate) {
    writer.integer(std::bit_cast<std::uint64_t>(options.expirationDate->secondsSince1970()));
  }
  writer.count(items.size());
  for (const auto& item : items) {
    writer.count(item.size());
    for (const auto& [type, value] : item) {
      writer.block(type);
      writer.integer(std::holds_alternative<std::string>(value) ? textKind : bytesKind);
      std::visit([&writer](const auto& range) { writer.block(range); }, value);
    }
  }
}

std::string text(Reader& reader) {
  const auto bytes = reader.block();
  std::string text(bytes.begin(), bytes.end());
  if (!isValidUTF8(text)) reader.fail();
  return text;
}

PasteboardValue readValue(Reader& reader) {
  const auto kind = reader.integer<std::uint8_t>();
  if (kind == textKind) return text(reader);
  if (kind != bytesKind) reader.fail();
  const auto bytes = reader.block();
  return Bytes(bytes.begin(), bytes.end());
}

PasteboardOptions readOptions(Reader& reader) {
  const auto flags = reader.integer<std::uint8_t>();
  if ((flags & ~(localOnlyFlag | expirationFlag)) != 0) reader.fail();
  PasteboardOptions options{.localOnly = (flags & localOnlyFlag) != 0, .expirationDate = std::nullopt};
  if ((flags & expirationFlag) == 0) return options;
  const auto seconds = std::bit_cast<double>(reader.integer<std::uint64_t>());
  if (!std::isfinite(seconds)) reader.fail();
  options.expirationDate = Date::fromSecondsSince1970(seconds);
  return options;
}

PasteboardItem readItem(Reader& reader, std::size_t values) {
  PasteboardItem item;
  for (std::size_t index = 0; index < values && !reader.failed(); ++index) {
    auto type = text(reader);
    if (!item.empty() && type <= item.rbegin()->first) reader.fail();
    auto value = readValue(reader);
    item.insert_or_assign(item.end(), std::move(type), std::move(value));
  }
  return item;
}

std::optional<PasteboardContents> readBody(std::span<const std::uint8_t> body) {
  Reader reader(body);
  PasteboardContents contents;
  contents.options = readOptions(reader);
  const auto items = reader.count(maximumPasteboardEntries);
  std::size_t valuesLeft = maximumPasteboardEntries;
  for (std::size_t index = 0; index < items && !reader.failed(); ++index) {
    const auto values = reader.count(valuesLeft);
    valuesLeft -= values;
    contents.items.push_back(readItem(reader, values));
  }
  if (reader.failed() || !reader.atEnd()) return std::nullopt;
  return contents;
}

}  // namespace

Bytes pasteboardFileHeader(std::span<const std::uint8_t> body) {
  Writer header;
  header.raw(magic);
  header.integer(version);
  header.count(body.size());
  header.integer(static_cast<std::uint32_t>(crc32_z(0, body.data(), body.size())));
  return std::move(header.bytes());
}

std::optional<Bytes> encodePasteboard(const PasteboardContents& contents) {
  if (!isWritable(contents)) return std::nullopt;
  Writer body;
  writeBody(body, contents);
  Writer file;
  file.raw(pasteboardFileHeader(body.bytes()));
  file.raw(body.bytes());
  if (file.bytes().size() > maximumPasteboardFile) return std::nullopt;
  return std::move(file.bytes());
}

std::optional<PasteboardContents> decodePasteboard(std::span<const std::uint8_t> file) {
  if (file.size() < headerSize || file.size() > maximumPasteboardFile) return std::nullopt;
  const auto body = file.subspan(headerSize);
  if (!std::ranges::equal(pasteboardFileHeader(body), file.first(headerSize))) return std::nullopt;
  return readBody(body);
}

}  // namespace tilvanego::detail
