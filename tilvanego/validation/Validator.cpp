#include <tilvanego/validation/Validator.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

#include <unicode/uregex.h>
#include <unicode/ustring.h>

#include <tilvanego/values/Release.h>
#include <tilvanego/values/Text.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

// In ICU's units of 10,000 backtracking steps. All of them take 0.1 to 0.2 seconds. A normal search needs at
// most a few steps for each character.
constexpr std::int32_t searchLimit = 500;
// The number of patterns that each thread keeps. The models have ten.
constexpr std::size_t keptPatterns = 32;
// In UTF-16 units. A matcher keeps the memory of its last search, which grows with the text.
constexpr std::size_t longText = std::size_t{16} * 1024;

// Text in UTF-16. A short text is not allocated.
class WideText {
 public:
  explicit WideText(std::string_view text) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) return;
    // No text has more units than bytes.
    if (text.size() > short_.size()) long_ = std::make_unique_for_overwrite<UChar[]>(text.size());
    UErrorCode status = U_ZERO_ERROR;
    const auto bytes = static_cast<std::int32_t>(text.size());
    // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): its length is the argument after it
    u_strFromUTF8WithSub(long_ ? long_.get() : short_.data(), bytes, &size_, text.data(), bytes, 0xFFFD,
                         nullptr, &status);
  }
  WideText(const WideText&) = delete;
  WideText& operator=(const WideText&) = delete;

  [[nodiscard]] bool isTooLong() const { return size_ < 0; }
  [[nodiscard]] const UChar* units() const { return long_ ? long_.get() : short_.data(); }
  [[nodiscard]] std::int32_t size() const { return size_; }

 private:
  std::array<UChar, 256> short_;
  std::unique_ptr<UChar[]> long_;
  std::int32_t size_ = -1;
};

// A compiled pattern and its matcher, for one thread.
class Matcher {
 public:
  explicit Matcher(std::string_view pattern) : pattern_(pattern) {
    const WideText wide(pattern);
    if (wide.isTooLong()) return;
    UErrorCode status = U_ZERO_ERROR;
    regex_.reset(uregex_open(wide.units(), wide.size(), UREGEX_CASE_INSENSITIVE, nullptr, &status));
    uregex_setTimeLimit(regex_.get(), searchLimit, &status);
    if (U_FAILURE(status)) regex_.reset();
  }

  [[nodiscard]] const std::string& pattern() const { return pattern_; }

  [[nodiscard]] bool isFoundIn(const WideText& text) {
    if (!regex_) return false;
    UErrorCode status = U_ZERO_ERROR;
    uregex_setText(regex_.get(), text.units(), text.size(), &status);
    const bool isFound = uregex_find(regex_.get(), 0, &status) != 0;
    return U_SUCCESS(status) && isFound;
  }

 private:
  std::string pattern_;
  // Null if the pattern isn't valid.
  std::unique_ptr<URegularExpression, detail::Release<uregex_close>> regex_;
};

// The patterns that a thread used last, the most recent first.
class RecentMatchers {
 public:
  Matcher& latest(std::string_view pattern) {
    const auto found = std::ranges::find(matchers_, pattern, &Matcher::pattern);
    if (found != matchers_.end()) {
      std::rotate(matchers_.begin(), found, found + 1);
    } else {
      if (matchers_.size() == keptPatterns) matchers_.pop_back();
      matchers_.emplace(matchers_.begin(), pattern);
    }
    return matchers_.front();
  }
  void dropLatest() { matchers_.erase(matchers_.begin()); }

 private:
  std::vector<Matcher> matchers_;
};

/// Whether the regular expression (ICU's syntax) matches anywhere in the text, case-insensitively. Both are
/// UTF-8; each ill-formed sequence counts as U+FFFD. False also if the pattern is not valid, if either is
/// longer than 2^31 - 1 bytes, and if the search exceeds its limit of backtracking.
bool isPatternFound(std::string_view pattern, std::string_view text) {
  thread_local RecentMatchers matchers;
  const WideText wide(text);
  if (wide.isTooLong()) return false;
  const bool isFound = matchers.latest(pattern).isFoundIn(wide);
  if (static_cast<std::size_t>(wide.size()) > longText) matchers.dropLatest();
  return isFound;
}

}  // namespace

KindSet<StringValidationErrorKind> Validator::check(std::string_view value, const StringRule& rule) {
  using enum StringValidationErrorKind;
  KindSet<StringValidationErrorKind> broken;
  if (rule.minLength || rule.maxLength) {
    const std::size_t length = characterCount(value);
    if (rule.minLength && length < *rule.minLength) broken.insert(minLength);
    if (rule.maxLength && length > *rule.maxLength) broken.insert(maxLength);
  }
  if (rule.pattern && !isPatternFound(*rule.pattern, value)) broken.insert(pattern);
  return broken;
}

}  // namespace tilvanego
