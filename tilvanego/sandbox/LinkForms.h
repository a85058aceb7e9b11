#pragma once

#include <expected>
#include <span>
#include <string_view>
#include <vector>

#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/values/QueryItem.h>

/// What the links of each operation hold, beside their return URL.
namespace tilvanego::sandbox {

struct ItemForm {
  enum class Presence {
    required,
    optional,
    /// An item of credentials, which are there as a whole or not at all.
    withOthers,
  };

  std::string_view name;
  Presence presence;
  /// What is wrong with a value, as in "is no number"; empty if nothing is.
  std::string_view (*fault)(std::string_view value);
};

struct LinkForm {
  Operation operation;
  std::string_view path;
  /// In the order of the link. What else the link holds is not looked at.
  std::span<const ItemForm> items;
};

/// Null for a path that names no operation.
[[nodiscard]] const LinkForm* formWithPath(std::string_view path);

/// Fails for the first item that should be there and isn't.
[[nodiscard]] std::expected<void, SandboxError> checkPresence(const LinkForm& form,
                                                              const std::vector<QueryItem>& items);

/// Fails for the first item whose value the host's library would never send.
[[nodiscard]] std::expected<void, SandboxError> checkValues(const LinkForm& form,
                                                            const std::vector<QueryItem>& items);

}  // namespace tilvanego::sandbox
