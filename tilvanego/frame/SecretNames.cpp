#include <tilvanego/frame/SecretNames.h>

#include <algorithm>
#include <array>

#include <tilvanego/values/Text.h>
#include <tilvanego/values/UTF8.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

struct SecretName {
  /// In lower case.
  std::string_view name;
  Secret secret;
};

constexpr std::array secretNames{
    SecretName{"basic_token", Secret::token},    SecretName{"basictoken", Secret::token},
    SecretName{"payload", Secret::payload},      SecretName{"clear_pan", Secret::cardData},
    SecretName{"clearpan", Secret::cardData},    SecretName{"clear_track2", Secret::cardData},
    SecretName{"cleartrack2", Secret::cardData},
};

constexpr char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::optional<Secret> secretNamed(std::string_view name) {
  // The Kelvin sign is a "K" as well.
  if (detail::asciiPrefixLength(name) < name.size()) {
    const std::string lower = lowercased(name);
    return detail::asciiPrefixLength(lower) == lower.size() ? secretNamed(lower) : std::nullopt;
  }
  for (const auto& [known, secret] : secretNames) {
    if (std::ranges::equal(name, known, {}, asciiLower)) return secret;
  }
  return std::nullopt;
}

}  // namespace tilvanego
