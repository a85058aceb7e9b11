#include <tilvanego/platform/desktop/PasteboardFormat.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <concepts>
#include <ranges>
#include <string_view>
#include <utility>
#include <variant>

#include <zlib.h>

#include <tilvanego/values/Text.h>

namespace tilvanego::detail {
namespace {

constexpr std::string_view magic = "TVGPASTE";
constexpr std::uint32_t version = 2;
constexpr std::size_t headerSize = magic.size() + 3 * sizeof(std::uint32_t);
constexpr std::uint8_t localOnlyFlag = 1;
constexpr std::uint8_t expirationFlag = 2;
constexpr std::uint8_t textKind = 0;
constexpr std::uint8_t bytesKind = 1;
constexpr std::uint8_t repeatedKind = 2;

std::size_t sizeOf(const PasteboardValue& value) {
  return std::visit([](const auto& range) { return range.size(); }, value);
}

class Writer {
 public:
  explicit Writer(std::size_t size) { bytes_.reserve(size); }

  template <std::unsigned_integral Integer>
  void integer(Integer value) {
    for (unsigned shift = 0; shift < 8 * sizeof value; shift += 8) {
      bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
    }
  }
  // The total length was checked before, so every length fits 32 bits.
  void count(std::size_t value) { integer(static_cast<std::uint32_t>(value)); }
  void raw(const auto& range) {
    static_assert(sizeof(*std::ranges::data(range)) == 1);
    // As bytes, which are copied at once; characters would be converted one by one.
    const auto* const first = reinterpret_cast<const std::uint8_t*>(std::ranges::data(range));
    bytes_.insert(bytes_.end(), first, first + std::ranges::size(range));
  }
  void block(const auto& range) {
    count(range.size());
    raw(range);
  }
  Bytes& bytes() { return bytes_; }

 private:
  Bytes bytes_;
};

// Reads values from the front of a body. After the first fault every value is zero or empty, and `failed()`
// returns true.
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
  // Reads a count. More than `limit` is a fault.
  std::size_t count(std::size_t limit) {
    const std::size_t value = integer<std::uint32_t>();
    if (value <= limit) return value;
    fail();
    return 0;
  }
  // Counts the memory of a value. Returns false, and it is a fault, beyond the limit of all values together.
  bool claim(std::size_t size) {
    if (size > bytesLeft_) fail();
    if (!failed_) bytesLeft_ -= size;
    return !failed_;
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
  std::size_t bytesLeft_ = maximumPasteboardValues;
  bool failed_ = false;
};

// Returns the size of a file with any contents, valid or not.
std::size_t fileSize(const PasteboardContents& contents) {
  constexpr std::size_t countSize = sizeof(std::uint32_t);
  std::size_t size = headerSize + 1 + countSize;
  if (contents.options.expirationDate) size += sizeof(double);
  for (const auto& item : contents.items) {
    size += countSize;
    const PasteboardValue* before = nullptr;
    for (const auto& [type, value] : item) {
      size += countSize + type.size() + 1;
      if (before == nullptr || *before != value) size += countSize + sizeOf(value);
      before = &value;
    }
  }
  return size;
}

std::string tooMuch(std::string_view what, std::size_t size, std::string_view unit, std::size_t limit) {
  return std::string(what) + " " + std::to_string(size) + " " + std::string(unit) + ", and at most " +
         std::to_string(limit) + " fit.";
}

// Returns why these contents cannot be a file.
std::optional<std::string> faultOf(const PasteboardContents& contents) {
  const auto& [items, options] = contents;
  if (options.expirationDate && !std::isfinite(options.expirationDate->secondsSince1970())) {
    return "The expiration date isn't finite.";
  }
  std::size_t entries = 0;
  std::size_t bytes = 0;
  for (const auto& item : items) {
    entries += item.size();
    for (const auto& [type, value] : item) bytes += sizeOf(value);
  }
  if (const auto most = std::max(items.size(), entries); most > maximumPasteboardEntries) {
    return tooMuch("There are", most, "items or values", maximumPasteboardEntries);
  }
  if (bytes > maximumPasteboardValues) {
    return tooMuch("The values together have", bytes, "bytes", maximumPasteboardValues);
  }
  if (const auto size = fileSize(contents); size > maximumPasteboardFile) {
    return tooMuch("The file would have", size, "bytes", maximumPasteboardFile);
  }
  for (const auto& item : items) {
    for (const auto& [type, value] : item) {
      const auto* text = std::get_if<std::string>(&value);
      if (!isValidUTF8(type) || (text && !isValidUTF8(*text))) return "A text isn't UTF-8.";
    }
  }
  return std::nullopt;
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
    const PasteboardValue* before = nullptr;
    for (const auto& [type, value] : item) {
      writer.block(type);
      if (before != nullptr && *before == value) {
        writer.integer(repeatedKind);
        continue;
      }
      writer.integer(std::holds_alternative<std::string>(value) ? textKind : bytesKind);
      std::visit([&writer](const auto& range) { writer.block(range); }, value);
      before = &value;
    }
  }
}

std::string text(Reader& reader) {
  const auto bytes = reader.block();
  std::string text(bytes.begin(), bytes.end());
  if (!isValidUTF8(text)) reader.fail();
  return text;
}

// `before` is the item's value before this one, null for its first.
PasteboardValue readValue(Reader& reader, const PasteboardValue* before) {
  const auto kind = reader.integer<std::uint8_t>();
  if (kind == repeatedKind && before != nullptr) {
    return reader.claim(sizeOf(*before)) ? *before : PasteboardValue{};
  }
  PasteboardValue value;
  if (kind == textKind) {
    value = text(reader);
  } else if (kind == bytesKind) {
    const auto bytes = reader.block();
    value = Bytes(bytes.begin(), bytes.end());
  } else {
    reader.fail();
  }
  if (!reader.claim(sizeOf(value)) || (before != nullptr && *before == value)) reader.fail();
  return value;
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
    auto value = readValue(reader, item.empty() ? nullptr : &item.rbegin()->second);
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
  Writer header(headerSize);
  header.raw(magic);
  header.integer(version);
  header.count(body.size());
  header.integer(static_cast<std::uint32_t>(crc32_z(0, body.data(), body.size())));
  return std::move(header.bytes());
}

std::expected<Bytes, std::string> encodePasteboard(const PasteboardContents& contents) {
  if (auto fault = faultOf(contents)) return std::unexpected(*std::move(fault));
  // The header is made from the body after it, so its place is reserved.
  Writer file(fileSize(contents));
  file.raw(Bytes(headerSize));
  writeBody(file, contents);
  std::ranges::copy(pasteboardFileHeader(std::span(file.bytes()).subspan(headerSize)), file.bytes().begin());
  return std::move(file.bytes());
}

std::optional<PasteboardContents> decodePasteboard(std::span<const std::uint8_t> file) {
  if (file.size() < headerSize || file.size() > maximumPasteboardFile) return std::nullopt;
  const auto body = file.subspan(headerSize);
  if (!std::ranges::equal(pasteboardFileHeader(body), file.first(headerSize))) return std::nullopt;
  return readBody(body);
}

}  // namespace tilvanego::detail
