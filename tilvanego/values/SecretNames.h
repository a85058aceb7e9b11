#pragma once

#include <optional>
#include <string_view>

#include <tilvanego/values/CaseNames.h>

/// The names of secret items and fields. Code that shows links or callbacks hides the values of these
/// names.
namespace [[gnu::visibility("default")]] tilvanego {

enum class Secret {
  /// The credential token.
  token,
  /// A compressed request, with its token, or a compressed response.
  payload,
  /// A card's data in clear.
  cardData,
};

template <>
inline constexpr bool showsCaseNames<Secret> = true;

/// Returns the kind of secret that an item or a field of this name holds, or nothing. The name is
/// case-insensitive. Allocates nothing for a name in ASCII. Any thread may call this.
[[nodiscard]] std::optional<Secret> secretNamed(std::string_view name);

/// Whether it is a secret of any kind.
[[nodiscard]] inline bool isSecretName(std::string_view name) { return secretNamed(name).has_value(); }

/// Whether a record that writes itself to a stream hides the field of this name: a secret, notes, or what a
/// terminal's records say of a card and its holder's signature, but for the last four digits.
[[nodiscard]] bool isHiddenField(std::string_view name);

}  // namespace tilvanego
