#include <tilvanego/values/Text.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

#include <unicode/ubrk.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>

#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Release.h>
#include <tilvanego/values/UTF8.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using detail::asciiLowercased;
using detail::asciiPrefixLength;
using detail::decodeScalar;
using detail::isASCII;

constexpr bool isWhitespaceOrNewline(char32_t c) {
  if (c < 0x80) return c == 0x20 || (c >= 0x09 && c <= 0x0D);
  return c == 0x85 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200B) || c == 0x2028 ||
         c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

using CaseMapping = int32_t (*)(UChar*, int32_t, const UChar*, int32_t, const char*, UErrorCode*);

// Well-formed UTF-16, as ICU makes it. A unit takes at most three bytes.
void appendUTF16(std::string& result, std::u16string_view text) {
  const std::size_t start = result.size();
  const std::size_t capacity = text.size() * 3;
  result.resize(start + capacity);
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(result.data() + start, static_cast<int32_t>(capacity), &length, text.data(),
              static_cast<int32_t>(text.size()), &status);
  result.resize(start + static_cast<std::size_t>(length));
}

// One scalar grows to at most three UTF-16 units under any full case mapping.
void appendMapped(std::string& result, char32_t scalar, CaseMapping mapping) {
  UChar source[2];
  int32_t length = 0;
  U16_APPEND_UNSAFE(source, length, static_cast<UChar32>(scalar));
  UChar mapped[8];
  UErrorCode status = U_ZERO_ERROR;
  const int32_t mappedLength = mapping(mapped, 8, source, length, "", &status);
  appendUTF16(result, {mapped, static_cast<std::size_t>(mappedLength)});
}

// Scalars are mapped one by one, without their context. Ill-formed bytes are kept.
std::string caseMapped(std::string_view text, char (*asciiMapping)(char), CaseMapping mapping) {
  std::string result(text.substr(0, asciiPrefixLength(text)));
  std::ranges::transform(result, result.begin(), asciiMapping);
  for (std::size_t at = result.size(); at < text.size();) {
    const auto decoded = decodeScalar(text, at);
    if (isASCII(text[at])) {
      result += asciiMapping(text[at]);
    } else if (decoded.wellFormed) {
      appendMapped(result, decoded.scalar, mapping);
    } else {
      result += text.substr(at, decoded.length);
    }
    at += decoded.length;
  }
  return result;
}

// ICU's protocol for results of unknown length: call with a guess; if the result does not fit, call again
// with its length.
template <typename Produce>
std::optional<std::u16string> produced(std::size_t guess, Produce produce) {
  std::u16string result(guess, u'\0');
  for (int attempt = 0; attempt < 2; ++attempt) {
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = produce(result.data(), static_cast<int32_t>(result.size()), &status);
    if (U_FAILURE(status) && status != U_BUFFER_OVERFLOW_ERROR) return std::nullopt;
    const bool fits = static_cast<std::size_t>(length) <= result.size();
    result.resize(static_cast<std::size_t>(length));
    if (fits) return result;
  }
  return std::nullopt;
}

std::optional<std::u16string> canonicallyDecomposed(const std::u16string& text) {
  UErrorCode status = U_ZERO_ERROR;
  const UNormalizer2* normalizer = unorm2_getNFDInstance(&status);
  if (U_FAILURE(status)) return std::nullopt;
  return produced(text.size() + text.size() / 2 + 8, [&](UChar* to, int32_t capacity, UErrorCode* error) {
    return unorm2_normalize(normalizer, text.data(), static_cast<int32_t>(text.size()), to, capacity, error);
  });
}

// The canonical case folding in UTF-16, or nothing if the text isn't well-formed or is beyond ICU's 32-bit
// lengths.
std::optional<std::u16string> canonicalFolding(std::string_view text) {
  // The longest expansion of the steps below stays within 32 bits up to here.
  if (text.size() > std::numeric_limits<int32_t>::max() / 32) return std::nullopt;
  return produced(text.size(),
                  [&](UChar* to, int32_t capacity, UErrorCode* error) {
                    int32_t length = 0;
                    u_strFromUTF8(to, capacity, &length, text.data(), static_cast<int32_t>(text.size()),
                                  error);
                    return length;
                  })
      .and_then(canonicallyDecomposed)
      .and_then([](const std::u16string& decomposed) {
        return produced(decomposed.size() + 8, [&](UChar* to, int32_t capacity, UErrorCode* error) {
          return u_strFoldCase(to, capacity, decomposed.data(), static_cast<int32_t>(decomposed.size()),
                               U_FOLD_CASE_DEFAULT, error);
        });
      })
      .and_then(canonicallyDecomposed);
}

// Opening an iterator loads its rules; each thread does so once.
UBreakIterator* characterIterator() {
  thread_local const std::unique_ptr<UBreakIterator, detail::Release<ubrk_close>> iterator([] {
    UErrorCode status = U_ZERO_ERROR;
    return ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status);
  }());
  return iterator.get();
}

std::size_t scalarCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size(); ++count) at += decodeScalar(text, at).length;
  return count;
}

std::size_t unicodeCharacterCount(std::string_view text) {
  UBreakIterator* iterator = characterIterator();
  UErrorCode status = U_ZERO_ERROR;
  UText source = UTEXT_INITIALIZER;
  utext_openUTF8(&source, text.data(), static_cast<int64_t>(text.size()), &status);
  std::size_t count = 0;
  if (iterator != nullptr && U_SUCCESS(status)) {
    ubrk_setUText(iterator, &source, &status);
    while (U_SUCCESS(status) && ubrk_next(iterator) != UBRK_DONE) ++count;
  }
  utext_close(&source);
  // Beyond 2 GiB, or without ICU's data, scalars are counted instead of characters.
  return U_SUCCESS(status) && iterator != nullptr ? count : scalarCount(text);
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  while (!text.empty()) {
    const auto first = decodeScalar(text, 0);
    if (!first.wellFormed || !isWhitespaceOrNewline(first.scalar)) break;
    text.remove_prefix(first.length);
  }
  while (!text.empty()) {
    std::size_t start = text.size() - 1;
    while (start > 0 && text.size() - start < 4 && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80)
      --start;
    const auto last = decodeScalar(text, start);
    if (!last.wellFormed || start + last.length != text.size() || !isWhitespaceOrNewline(last.scalar)) break;
    text.remove_suffix(last.length);
  }
  return text;
}

std::string uppercased(std::string_view text) {
  return caseMapped(text, detail::asciiUppercased, u_strToUpper);
}

std::string lowercased(std::string_view text) { return caseMapped(text, asciiLowercased, u_strToLower); }

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  // ASCII characters neither fold nor combine into anything else. So the first two that differ decide, and
  // folding can start at the first character that is not ASCII.
  std::size_t at = 0;
  for (const std::size_t shorter = std::min(a.size(), b.size()); at < shorter; ++at) {
    if (!isASCII(a[at]) || !isASCII(b[at])) break;
    if (asciiLowercased(a[at]) != asciiLowercased(b[at])) return false;
  }
  a.remove_prefix(at);
  b.remove_prefix(at);
  if (a.empty() || b.empty()) return a.empty() && b.empty();
  if (a == b) return true;

  const auto foldedA = canonicalFolding(a);
  const auto foldedB = canonicalFolding(b);
  if (foldedA && foldedB) return *foldedA == *foldedB;
  return detail::equalIgnoringASCIICase(a, b);
}

std::string caseFolded(std::string_view text) {
  const std::size_t prefix = asciiPrefixLength(text);
  if (prefix < text.size()) {
    if (const auto folded = canonicalFolding(text.substr(prefix))) {
      std::string result = asciiLowercased(text.substr(0, prefix));
      appendUTF16(result, *folded);
      return result;
    }
  }
  return asciiLowercased(text);
}

std::size_t characterCount(std::string_view text) {
  if (asciiPrefixLength(text) < text.size()) return unicodeCharacterCount(text);
  std::size_t count = text.size();
  for (std::size_t at = text.find("\r\n"); at != text.npos; at = text.find("\r\n", at + 2)) --count;
  return count;
}

bool isValidUTF8(std::string_view text) {
  for (std::size_t at = asciiPrefixLength(text); at < text.size();) {
    const auto decoded = decodeScalar(text, at);
    if (!decoded.wellFormed) return false;
    at += decoded.length;
    if (at < text.size() && isASCII(text[at])) at += asciiPrefixLength(text.substr(at));
  }
  return true;
}

}  // namespace tilvanego
