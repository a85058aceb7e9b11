#include <tilvanego/values/Base64.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace tilvanego {
namespace {

constexpr std::string_view standardAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view urlAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

// Twelve bits at a time: two lookups for three bytes, in a table of 8 KiB.
using Pair = std::array<char, 2>;
using PairTable = std::array<Pair, 4096>;

constexpr PairTable pairTable(std::string_view alphabet) {
  PairTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = {alphabet[i >> 6], alphabet[i & 63]};
  return table;
}

constexpr PairTable standardPairs = pairTable(standardAlphabet);
constexpr PairTable urlPairs = pairTable(urlAlphabet);

// A character's six bits at each of its four places in a group, or `invalid`: one OR joins a group, and one
// more collects whether any character was invalid.
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

void encodeTo(char* to, std::span<const std::uint8_t> bytes, const PairTable& pairs, bool padded) {
  const auto put = [&](std::uint32_t twelveBits) {
    std::memcpy(to, pairs[twelveBits].data(), 2);
    to += 2;
  };
  const std::uint8_t* from = bytes.data();
  const std::uint8_t* const end = from + bytes.size();
  for (; end - from >= 3; from += 3) {
    const std::uint32_t group = std::uint32_t{from[0]} << 16 | std::uint32_t{from[1]} << 8 | from[2];
    put(group >> 12);
    put(group & 0xFFF);
  }
  if (end - from == 2) {
    const std::uint32_t group = std::uint32_t{from[0]} << 16 | std::uint32_t{from[1]} << 8;
    put(group >> 12);
    *to++ = pairs[group & 0xFFF][0];
    if (padded) *to = '=';
  } else if (end - from == 1) {
    put(std::uint32_t{from[0]} << 4);
    if (padded) std::memset(to, '=', 2);
  }
}

std::string encoded(std::span<const std::uint8_t> bytes, const PairTable& pairs, bool padded) {
  const std::size_t length = textLength(bytes.size(), padded);
  std::string text;
  // libstdc++ 12 hands the capacity, not the length asked for, to the function.
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
