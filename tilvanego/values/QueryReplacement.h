#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/values/URL.h>
#include <tilvanego/values/URLParts.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

/// Writes the query of a URL anew, item by item.
class QueryReplacement {
 public:
  /// The room for this many items and some percent-encoding; more is taken as it is needed.
  [[nodiscard]] static constexpr std::size_t roomFor(std::size_t items) { return 40 * items + 16; }

  QueryReplacement(const URL& url, std::size_t items);
  /// Keeps the text's buffer if it has the room.
  QueryReplacement(URL&& url, std::size_t items);

  /// Appends an item, encoded.
  void add(std::string_view name, std::optional<std::string_view> value);
  [[nodiscard]] bool empty() const { return separator_ == '?'; }

  /// Returns the URL; without items its query is empty. Returns no value if the text would be 4 GiB or
  /// longer.
  [[nodiscard]] std::optional<URL> url() &&;

 private:
  detail::URLParts parts_;
  /// What follows the query.
  std::string tail_;
  std::string text_;
  char separator_ = '?';
};

}  // namespace support
}  // namespace tilvanego
