#pragma once

#include <expected>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/Date.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Text in UTF-8, or bytes.
using PasteboardValue = std::variant<std::string, Bytes>;

/// One content in several representations, by type name ("public.utf8-plain-text"), in the order of the
/// names' bytes.
using PasteboardItem = std::map<std::string, PasteboardValue, std::less<>>;

struct PasteboardOptions {
  /// The items must not leave this device.
  bool localOnly = false;
  /// Once the clock is past this instant, the pasteboard is empty. Without it the items stay.
  std::optional<Date> expirationDate;

  bool operator==(const PasteboardOptions&) const = default;
};

/// Everything on a pasteboard.
struct PasteboardContents {
  std::vector<PasteboardItem> items;
  PasteboardOptions options;

  bool operator==(const PasteboardContents&) const = default;
};

/// The port of the system's general pasteboard, which other applications read and write, too. Used on the
/// main thread only.
///
/// May throw: on reading, the pasteboard counts as empty; on writing, the items count as not kept.
class Pasteboard {
 public:
  virtual ~Pasteboard() = default;

  /// Returns the pasteboard's text, if it has one.
  [[nodiscard]] virtual std::optional<std::string> string() const = 0;

  [[nodiscard]] virtual std::vector<PasteboardItem> items() const = 0;

  /// Replaces everything on the pasteboard; an empty vector empties it. If the system does not keep the
  /// items, the former content stays. The error is then one sentence for the host's developer with the
  /// reason; it shows nothing of the items.
  [[nodiscard]] virtual std::expected<void, std::string> setItems(std::vector<PasteboardItem> items,
                                                                  const PasteboardOptions& options) = 0;

  /// Like above, for items that may leave the device and do not expire.
  [[nodiscard]] std::expected<void, std::string> setItems(std::vector<PasteboardItem> items) {
    return setItems(std::move(items), PasteboardOptions{});
  }
};

/// Returns the default result of `Pasteboard::string()`: the text of the first item under
/// "public.utf8-plain-text", else under "public.text", else under "public.plain-text". Values that are bytes
/// are ignored.
[[nodiscard]] std::optional<std::string> pasteboardString(const std::vector<PasteboardItem>& items);

/// Returns true if the options have an expiration date and `now` is later.
[[nodiscard]] bool isExpired(const PasteboardOptions& options, const Date& now);

}  // namespace tilvanego
