#include <tilvanego/values/SecretNames.h>

#include <algorithm>
#include <array>

#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/UTF8.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

struct SecretName {
  /// In lower case.
  std::string_view name;
  /// Nothing: only a record that is shown hides it. Links have it in clear.
  std::optional<Secret> secret = std::nullopt;
};

constexpr std::array secretNames{
    SecretName{"basic_token", Secret::token},
    SecretName{"basictoken", Secret::token},
    SecretName{"payload", Secret::payload},
    SecretName{"clear_pan", Secret::cardData},
    SecretName{"clearpan", Secret::cardData},
    SecretName{"clear_track2", Secret::cardData},
    SecretName{"cleartrack2", Secret::cardData},
    SecretName{"notes"},
    // Of a terminal's records: what identifies a card or can be charged like one, and what its holder signed.
    SecretName{"bin"},
    SecretName{"cardexpiration"},
    SecretName{"cardnumber"},
    SecretName{"cryptogram"},
    SecretName{"expiry"},
    SecretName{"osid"},
    SecretName{"ostokenreference"},
    SecretName{"signature"},
    SecretName{"vouchernumber"},
};

const SecretName* found(std::string_view name) {
  // A name outside ASCII may equal one inside: the Kelvin sign equals "k".
  if (detail::asciiPrefixLength(name) < name.size()) {
    const std::string lower = lowercased(name);
    return detail::asciiPrefixLength(lower) == lower.size() ? found(lower) : nullptr;
  }
  const auto* const one = std::ranges::find_if(
      secretNames, [&](const SecretName& known) { return detail::equalIgnoringASCIICase(name, known.name); });
  return one != secretNames.end() ? one : nullptr;
}

}  // namespace

std::optional<Secret> secretNamed(std::string_view name) {
  const SecretName* const known = found(name);
  return known != nullptr ? known->secret : std::nullopt;
}

bool isHiddenField(std::string_view name) { return found(name) != nullptr; }

}  // namespace tilvanego
