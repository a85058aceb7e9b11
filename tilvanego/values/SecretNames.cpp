#include <tilvanego/values/SecretNames.h>

#include <array>

#include <tilvanego/values/ASCII.h>
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

}  // namespace

std::optional<Secret> secretNamed(std::string_view name) {
  // A name outside ASCII may equal one inside: the Kelvin sign equals "k".
  if (detail::asciiPrefixLength(name) < name.size()) {
    const std::string lower = lowercased(name);
    return detail::asciiPrefixLength(lower) == lower.size() ? secretNamed(lower) : std::nullopt;
  }
  for (const auto& [known, secret] : secretNames) {
    if (detail::equalIgnoringASCIICase(name, known)) return secret;
  }
  return std::nullopt;
}

}  // namespace tilvanego
