#pragma once

#include <expected>
#include <span>
#include <string_view>
#include <vector>

#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/values/QueryItem.h>

/// The items of each operation's links, without the return URL.
namespace tilvanego::sandbox {

struct ItemForm {
  enum class Presence {
    required,
    optional,
    /// An item of the credentials: the link has all of these items or none.
    withOthers,
  };

  std::string_view name;
  Presence presence;
  /// Returns what is wrong with a value, such as "is no number"; empty if it is valid.
  std::string_view (*fault)(std::string_view value);
};

struct LinkForm {
  Operation operation;
  std::string_view path;
  /// In the order of the link. Other items of the link are ignored.
  std::span<const ItemForm> items;
};

/// Returns null for a path of no operation.
[[nodiscard]] const LinkForm* formWithPath(std::string_view path);

/// Whether the links of an operation have an item of this name.
[[nodiscard]] bool hasItem(Operation operation, std::string_view name);

/// Returns null if there is none of this name.
[[nodiscard]] const QueryItem* itemNamed(std::string_view name, const std::vector<QueryItem>& items);

/// Fails for the first required item that is missing.
[[nodiscard]] std::expected<void, SandboxError> checkPresence(const LinkForm& form,
                                                              const std::vector<QueryItem>& items);

/// Fails for the first item with a value that the host's library never sends.
[[nodiscard]] std::expected<void, SandboxError> checkValues(const LinkForm& form,
                                                            const std::vector<QueryItem>& items);

}  // namespace tilvanego::sandbox
