#pragma once

#include <optional>
#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

/// One name and value of a URL's query, decoded: UTF-8 text without percent escapes. "a" is an item without a
/// value, "a=" one whose value is empty.
struct QueryItem {
  std::string name;
  std::optional<std::string> value;

  bool operator==(const QueryItem&) const = default;
};

}  // namespace tilvanego
