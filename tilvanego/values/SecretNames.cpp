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
  Secret secret;
};

/// What no log and no shown link has in clear.
constexpr std::array secretNames{
    SecretName{"basic_token", Secret::token},    SecretName{"basictoken", Secret::token},
    SecretName{"payload", Secret::payload},      SecretName{"clear_pan", Secret::cardData},
    SecretName{"clearpan", Secret::cardData},    SecretName{"clear_track2", Secret::cardData},
    SecretName{"cleartrack2", Secret::cardData},
};

/// What only a record that is shown hides; links have it in clear.
constexpr auto hiddenNames = std::to_array<std::string_view>({
    "notes",
    // Of a terminal's records: what identifies a card or can be charged like one, and what its holder signed.
    "bin",
    "cardexpiration",
    "cardnumber",
    "cryptogram",
    "expiry",
    "osid",
    "ostokenreference",
    "signature",
    "vouchernumber",
});

/// Whether `name` equals the ASCII text `known`. The lengths come first: they differ for nearly all names of
/// a link.
bool isNamed(std::string_view name, std::string_view known) {
  return name.size() == known.size() && detail::equalIgnoringASCIICase(name, known);
}

/// `find` of a name in ASCII. One outside ASCII may equal one inside: the Kelvin sign equals "k".
auto foundInASCII(std::string_view name, const auto& find) -> decltype(find(name)) {
  if (detail::asciiPrefixLength(name) == name.size()) return find(name);
  const std::string lower = lowercased(name);
  return detail::asciiPrefixLength(lower) == lower.size() ? find(lower) : decltype(find(name)){};
}

}  // namespace

std::optional<Secret> secretNamed(std::string_view name) {
  return foundInASCII(name, [](std::string_view ascii) -> std::optional<Secret> {
    for (const auto& [known, secret] : secretNames) {
      if (isNamed(ascii, known)) return secret;
    }
    return std::nullopt;
  });
}

bool isHiddenField(std::string_view name) {
  if (isSecretName(name)) return true;
  return foundInASCII(name, [](std::string_view ascii) {
    return std::ranges::any_of(hiddenNames, [&](std::string_view known) { return isNamed(ascii, known); });
  });
}

}  // namespace tilvanego
