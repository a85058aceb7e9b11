#pragma once

#include <memory>

#include <tilvanego/platform/Clock.h>
#include <tilvanego/platform/Pasteboard.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A pasteboard of this process alone. Nothing leaves it, so the local-only mark is kept and shown, no more.
class MemoryPasteboard final : public Pasteboard {
 public:
  using Pasteboard::setItems;

  /// Items expire by `clock`, which isn't null.
  explicit MemoryPasteboard(std::shared_ptr<const Clock> clock);

  [[nodiscard]] std::optional<std::string> string() const override;
  [[nodiscard]] std::vector<PasteboardItem> items() const override;
  [[nodiscard]] std::expected<void, std::string> setItems(std::vector<PasteboardItem> items,
                                                          const PasteboardOptions& options) override;

  /// What lies there, with its options; empty with default options once it has expired.
  [[nodiscard]] PasteboardContents contents() const;

  /// Puts there what another application would: items that may travel and don't expire, and, if given, a text
  /// that `string()` answers whatever the items are. The next `setItems` replaces both.
  void place(std::vector<PasteboardItem> items, std::optional<std::string> string = std::nullopt);

 private:
  std::shared_ptr<const Clock> clock_;
  PasteboardContents contents_;
  std::optional<std::string> string_;
};

}  // namespace tilvanego
