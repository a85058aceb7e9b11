#include <tilvanego/validation/Validator.h>

#include <tilvanego/validation/PatternSearch.h>
#include <tilvanego/values/Text.h>

namespace [[gnu::visibility("default")]] tilvanego {

KindSet<StringValidationErrorKind> Validator::check(std::string_view value, const StringRule& rule) {
  using enum StringValidationErrorKind;
  KindSet<StringValidationErrorKind> broken;
  if (rule.minLength || rule.maxLength) {
    const std::size_t length = characterCount(value);
    if (rule.minLength && length < *rule.minLength) broken.insert(minLength);
    if (rule.maxLength && length > *rule.maxLength) broken.insert(maxLength);
  }
  if (rule.pattern && !detail::isPatternFound(*rule.pattern, value)) broken.insert(pattern);
  return broken;
}

}  // namespace tilvanego
