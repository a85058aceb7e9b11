#pragma once

#include <iosfwd>
#include <optional>
#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

/// One name and value of a URL's query, decoded: UTF-8 text without percent escapes. The item "a" has no
/// value; the item "a=" has an empty value.
struct QueryItem {
  std::string name;
  std::optional<std::string> value;

  bool operator==(const QueryItem&) const = default;
  /// Writes `"name"="value"`, as literals with escapes; the value of a secret's name (`isSecretName`) is
  /// `<redacted>`.
  friend std::ostream& operator<<(std::ostream& out, const QueryItem& item) { return item.show(out); }

 private:
  std::ostream& show(std::ostream& out) const;
};

}  // namespace tilvanego
