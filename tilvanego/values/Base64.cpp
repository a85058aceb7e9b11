#include <tilvanego/values/Base64.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

constexpr std::string_view standardAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view urlAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

// Two characters in one integer, in the order of memory. Three bytes need two look-ups of twelve bits each,
// in a table of 8 KiB.
using Pair = std::uint16_t;
using PairTable = std::array<Pair, 4096>;

constexpr PairTable pairTable(std::string_view alphabet) {
  PairTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    table[i] = std::bit_cast<Pair>(std::array{alphabet[i >> 6], alphabet[i & 63]});
  }
  return table;
}

constexpr PairTable standardPairs = pairTable(standardAlphabet);
constexpr PairTable urlPairs = pairTable(urlAlphabet);

// The six bits of a character, shifted to each of the four places in a group, or `invalid`. An OR of four of
// them is a group; an OR of all groups shows whether a character was invalid.
constexpr std::uint32_t invalid = 0x8000'0000;
using PlaceTables = std::array<std::array<std::uint32_t, 256>, 4>;

constexpr void addAlphabet(PlaceTables& tables, std::string_view alphabet) {
  for (std::uint32_t bits = 0; bits < 64; ++bits) {
    const auto character = static_cast<unsigned char>(alphabet[bits]);
    for (std::uint32_t place = 0; place < 4; ++place) tables[place][character] = bits << (18 - 6 * place);
  }
}

constexpr PlaceTables placeTables(bool withURLAlphabet) {
  PlaceTables tables{};
  for (auto& table : tables) table.fill(invalid);
  addAlphabet(tables, standardAlphabet);
  if (withURLAlphabet) addAlphabet(tables, urlAlphabet);
  return tables;
}

constexpr PlaceTables standardPlaces = placeTables(false);
constexpr PlaceTables urlPlaces = placeTables(true);

constexpr std::size_t textLength(std::size_t byteCount, bool padded) {
  const std::size_t rest = byteCount % 3;
  return byteCount / 3 * 4 + (rest == 0 ? 0 : padded ? 4 : rest + 1);
}

// Eight bytes as an integer whose first byte is the most significant, and back.
std::uint64_t bigEndian(std::uint64_t eight) {
  return std::endian::native == std::endian::little ? std::byteswap(eight) : eight;
}

std::uint64_t eightBytesAt(const std::uint8_t* from) {
  std::uint64_t eight = 0;
  std::memcpy(&eight, from, sizeof eight);
  return bigEndian(eight);
}

// Twelve bytes to sixteen characters; reads two bytes more.
void encodeTwelveTo(char* to, const std::uint8_t* from, const PairTable& pairs) {
  const std::uint64_t a = eightBytesAt(from);
  const std::uint64_t b = eightBytesAt(from + 6);
  const auto pair = [&pairs](std::uint64_t bits) { return pairs[static_cast<std::size_t>(bits & 0xFFF)]; };
  const std::array<Pair, 8> characters{pair(a >> 52), pair(a >> 40), pair(a >> 28), pair(a >> 16),
                                       pair(b >> 52), pair(b >> 40), pair(b >> 28), pair(b >> 16)};
  std::memcpy(to, characters.data(), sizeof characters);
}

// The last one or two bytes.
void encodeRestTo(char* to, std::span<const std::uint8_t> rest, const PairTable& pairs, bool padded) {
  const std::uint32_t bits =
      std::uint32_t{rest[0]} << 16 | (rest.size() == 2 ? std::uint32_t{rest[1]} << 8 : 0U);
  std::array<char, 4> characters{};
  std::memcpy(characters.data(), &pairs[bits >> 12], 2);
  std::memcpy(characters.data() + 2, &pairs[bits & 0xFFF], 2);
  std::fill(characters.begin() + static_cast<std::ptrdiff_t>(rest.size()) + 1, characters.end(), '=');
  std::memcpy(to, characters.data(), padded ? 4 : rest.size() + 1);
}

void encodeTo(char* to, std::span<const std::uint8_t> bytes, const PairTable& pairs, bool padded) {
  const std::uint8_t* from = bytes.data();
  const std::uint8_t* const end = from + bytes.size();
  for (; end - from >= 14; from += 12, to += 16) encodeTwelveTo(to, from, pairs);
  for (; end - from >= 3; from += 3, to += 4) {
    const std::uint32_t bits = std::uint32_t{from[0]} << 16 | std::uint32_t{from[1]} << 8 | from[2];
    const std::array<Pair, 2> characters{pairs[bits >> 12], pairs[bits & 0xFFF]};
    std::memcpy(to, characters.data(), sizeof characters);
  }
  if (from != end) encodeRestTo(to, {from, end}, pairs, padded);
}

std::string encoded(std::span<const std::uint8_t> bytes, const PairTable& pairs, bool padded) {
  const std::size_t length = textLength(bytes.size(), padded);
  std::string text;
  // libstdc++ 12 passes the capacity instead of the requested length.
  text.resize_and_overwrite(length, [&](char* to, std::size_t) {
    encodeTo(to, bytes, pairs, padded);
    return length;
  });
  return text;
}

std::uint32_t groupAt(const char* characters, const PlaceTables& places) {
  const auto bits = [&](std::size_t place) {
    return places[place][static_cast<unsigned char>(characters[place])];
  };
  return bits(0) | bits(1) | bits(2) | bits(3);
}

// `text` without its padding; its length modulo four isn't 1.
std::optional<Bytes> decoded(std::string_view text, const PlaceTables& places) {
  const std::size_t rest = text.size() % 4;
  Bytes bytes(text.size() / 4 * 3 + (rest == 0 ? 0 : rest - 1));
  std::uint8_t* to = bytes.data();
  const char* from = text.data();
  const char* const end = from + (text.size() - rest);
  std::uint32_t seen = 0;
  // Two groups are stored as eight bytes, of which the next two overwrite the last two.
  for (; end - from >= 12; from += 8, to += 6) {
    const std::uint32_t first = groupAt(from, places);
    const std::uint32_t second = groupAt(from + 4, places);
    seen |= first | second;
    const std::uint64_t eight = bigEndian(std::uint64_t{first} << 40 | std::uint64_t{second} << 16);
    std::memcpy(to, &eight, sizeof eight);
  }
  for (; from != end; from += 4) {
    const std::uint32_t group = groupAt(from, places);
    seen |= group;
    *to++ = static_cast<std::uint8_t>(group >> 16);
    *to++ = static_cast<std::uint8_t>(group >> 8);
    *to++ = static_cast<std::uint8_t>(group);
  }
  if (rest != 0) {
    std::array<char, 4> last{'A', 'A', 'A', 'A'};
    std::memcpy(last.data(), from, rest);
    const std::uint32_t group = groupAt(last.data(), places);
    seen |= group;
    *to++ = static_cast<std::uint8_t>(group >> 16);
    if (rest == 3) *to = static_cast<std::uint8_t>(group >> 8);
  }
  if ((seen & invalid) != 0) return std::nullopt;
  return bytes;
}

// At most two "=" end a text; any further one is found as an invalid character.
std::string_view withoutPadding(std::string_view text) {
  for (int i = 0; i < 2 && text.ends_with('='); ++i) text.remove_suffix(1);
  return text;
}

}  // namespace

std::string base64Encode(std::span<const std::uint8_t> bytes) { return encoded(bytes, standardPairs, true); }

std::string base64URLEncode(std::span<const std::uint8_t> bytes) { return encoded(bytes, urlPairs, false); }

std::optional<Bytes> base64Decode(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  return decoded(withoutPadding(text), standardPlaces);
}

std::optional<Bytes> base64URLDecode(std::string_view text) {
  const std::string_view characters = withoutPadding(text);
  const std::size_t missing = (4 - text.size() % 4) % 4;
  if (text.size() - characters.size() + missing > 2) return std::nullopt;
  return decoded(characters, urlPlaces);
}

}  // namespace tilvanego
