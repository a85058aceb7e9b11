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

/// One thing in several representations, by type name ("public.utf8-plain-text"), in the order of the names'
/// bytes.
using PasteboardItem = std::map<std::string, PasteboardValue, std::less<>>;

struct PasteboardOptions {
  /// The items must not leave this device.
  bool localOnly = false;
  /// Once the clock is past this instant, the pasteboard is empty. Without it the items stay.
  std::optional<Date> expirationDate;

  bool operator==(const PasteboardOptions&) const = default;
};

/// Everything that lies on a pasteboard.
struct PasteboardContents {
  std::vector<PasteboardItem> items;
  PasteboardOptions options;

  bool operator==(const PasteboardContents&) const = default;
};

/// The general pasteboard of the system, which other applications read and write too. The main thread's.
///
/// May throw: a pasteboard that can't be read counts as empty, and items that were being set as not kept.
class Pasteboard {
 public:
  virtual ~Pasteboard() = default;

  /// The pasteboard's text, if it has one.
  [[nodiscard]] virtual std::optional<std::string> string() const = 0;

  [[nodiscard]] virtual std::vector<PasteboardItem> items() const = 0;

  /// Replaces everything on the pasteboard; no items empty it. Where the system doesn't keep the items, what
  /// lay there stays, and the error is one sentence for the host's developer that says why and shows nothing
  /// of the items.
  [[nodiscard]] virtual std::expected<void, std::string> setItems(std::vector<PasteboardItem> items,
                                                                  const PasteboardOptions& options) = 0;

  /// The same, for items that may travel and don't expire.
  [[nodiscard]] std::expected<void, std::string> setItems(std::vector<PasteboardItem> items) {
    return setItems(std::move(items), PasteboardOptions{});
  }
};

/// What `Pasteboard::string()` is for items whose writer said nothing else: the text of the first item under
/// "public.utf8-plain-text", else under "public.text", else under "public.plain-text". Bytes are no text
/// here.
[[nodiscard]] std::optional<std::string> pasteboardString(const std::vector<PasteboardItem>& items);

/// True once `now` is later than the options' expiration date, if they have one.
[[nodiscard]] bool isExpired(const PasteboardOptions& options, const Date& now);

}  // namespace tilvanego
