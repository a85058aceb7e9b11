#pragma once

#include <optional>
#include <string_view>

/// The names of what mustn't be read over a shoulder, in a log or in a report: everything that shows links,
/// callbacks or the fields of records hides by this one list.
namespace [[gnu::visibility("default")]] tilvanego {

enum class Secret {
  /// What proves to the payment application who asks.
  token,
  /// A compressed request, token included, or a compressed answer.
  payload,
  /// A card's data in clear.
  cardData,
};

/// What an item of a link or callback, or a field of a record, with this name holds, whatever the name's
/// case; nothing if it is no secret. Allocates nothing for a name in ASCII. Any thread may call this.
[[nodiscard]] std::optional<Secret> secretNamed(std::string_view name);

/// Whether it is a secret of any kind.
[[nodiscard]] inline bool isSecretName(std::string_view name) { return secretNamed(name).has_value(); }

}  // namespace tilvanego
