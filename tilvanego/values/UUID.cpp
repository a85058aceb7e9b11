#include <tilvanego/values/UUID.h>

#include <charconv>
#include <cstddef>
#include <system_error>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

constexpr std::size_t textLength = 36;

constexpr bool isHyphenPlace(std::size_t at) { return at == 8 || at == 13 || at == 18 || at == 23; }

}  // namespace

UUID UUID::fromRandomBytes(const Octets& randomBytes) {
  UUID result(randomBytes);
  result.octets_[6] = static_cast<std::uint8_t>((result.octets_[6] & 0x0F) | 0x40);
  result.octets_[8] = static_cast<std::uint8_t>((result.octets_[8] & 0x3F) | 0x80);
  return result;
}

std::optional<UUID> UUID::parse(std::string_view text) {
  if (text.size() != textLength) return std::nullopt;
  UUID result;
  std::size_t at = 0;
  for (std::uint8_t& octet : result.octets_) {
    if (isHyphenPlace(at) && text[at++] != '-') return std::nullopt;
    const char* const end = text.data() + at + 2;
    const auto [stop, error] = std::from_chars(text.data() + at, end, octet, 16);
    if (error != std::errc{} || stop != end) return std::nullopt;
    at += 2;
  }
  return result;
}

std::string UUID::text() const {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string result;
  result.reserve(textLength);
  for (const std::uint8_t octet : octets_) {
    if (isHyphenPlace(result.size())) result += '-';
    result += digits[octet >> 4];
    result += digits[octet & 0x0F];
  }
  return result;
}

}  // namespace tilvanego
