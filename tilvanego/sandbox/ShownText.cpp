#include <tilvanego/sandbox/ShownText.h>

#include <cstddef>

namespace tilvanego::sandbox {

std::string shown(std::string_view text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string shown;
  const auto escape = [&](unsigned char control) {
    shown.append("\\u{").append({digits[control >> 4U], digits[control & 0xFU], '}'});
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    if (byte < 0x20 || byte == 0x7F) {
      escape(byte);
    } else if (byte == 0xC2 && next >= 0x80 && next <= 0x9F) {
      escape(next);
      ++i;
    } else {
      shown += text[i];
    }
  }
  return shown;
}

}  // namespace tilvanego::sandbox
